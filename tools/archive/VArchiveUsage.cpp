// What the archive tool says of its use.
#include <cstdio>

#include "tools/archive/VArchive.h"

namespace Vorn {

void VArchive::PrintUsage() {
    static bool printed = false;
    if (printed) return;
    printed = true;
    std::fputs(
        "Vorn Archiver v1.9\n"
        "Usage:\n"
        "  VArchive {<Switches>} <Command> Execute one command with switches\n"
        "  VArchive @<file>                Read file for multiple commands (one per line)\n"
        "\n"
        "Switches:\n"
        "  <Switch>{ <Switches>}           A switch plus optional switches\n"
        "\n"
        "Switch:\n"
        "  -r                              Recursive Search\n"
        "  -P                              Use Full Paths\n"
        "  -v                              Verbose Display\n"
        "  -c                              Enable Compression\n"
        "  -n                              Use archive name as path prefix\n"
        "  -p<path>                        Use path prefix\n"
        "  -x<Wildcards>                   Exclude files\n"
        "  -sbuildversion=<buildversion>   Specify archive build version\n"
        "  -sproductcode=<productcode>     Specify archive product code\n"
        "\n"
        "Command:\n"
        "  a <archive> <Paths>             Add matching wildcards to archive\n"
        "  e <archive> <Paths>             Extract matching wildcards from archive\n"
        "  l <archive> <Paths>             List matching wildcards in archive\n"
        "  b <file>                        View blocks in file\n"
        "\n"
        "Paths:\n"
        "  <Path>{ <Paths>}                A path plus optional paths\n"
        "\n"
        "Path:\n"
        "  {<dir>}<Wildcards>              An optional directory plus wildcards\n"
        "\n"
        "Wildcards:\n"
        "  <Wildcard>{;<Wildcards>}        A wildcard plus optional wildcards\n"
        "\n"
        "Example:\n"
        "  VArchive -c -n -r a MyArchive Data/*.txt;*.bmp;*.*.*\n"
        "\n"
        "     Enables compression and recursive directory scanning. Adds to the\n"
        "     archive file MyArchive.va in the current directory, starting from\n"
        "     the sub directory Data all .txt, .bmp and files with two extensions.\n"
        "     Note: By default the path prefix is removed from files.\n",
        stdout);
}

}  // namespace Vorn
