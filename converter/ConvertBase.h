// A frame for programs that walk every member of one input archive.
//
// Prepare checks the command line, opens the archive's database and mounts the archive; Run walks
// its folders depth-first and hands each member to ProcessFile. Results: 0 continues, 1 stops the
// walk; Run's is the exit code. Single-threaded. Nothing here throws: a failure is a line and a
// result.
//
// The database mounts what it finds under the name, which is the archive in most cases. If it is
// another file ("old.va" or the folder "old" beside "old.pbk"), only the archive that the command
// line names stays mounted: members of both would end up in the output.
#pragma once

#include "KernelResource/NorvaneResourceDatabase.h"
#include "kernel/InternedString.h"
#include "kernel/PathBuffer.h"

namespace converter {

class ConvertBase {
public:
    ConvertBase() = default;
    ConvertBase(const ConvertBase&) = delete;
    ConvertBase& operator=(const ConvertBase&) = delete;

    // The virtual operations. Their order is fixed.
    virtual ~ConvertBase();
    virtual void PrintUsage();
    // Call once, before Run. False if the command line or an archive is not usable; what is mounted
    // by then stays mounted.
    [[nodiscard]] virtual bool Prepare(int argc, char** argv);
    [[nodiscard]] virtual int Run();
    // `folder` and `member` are relative to the archive's root, '/' between components.
    [[nodiscard]] virtual int ProcessFolder(const char* folder);
    [[nodiscard]] virtual int ProcessFile(const char* member);

protected:
    // Releases the database and closes the mount.
    void CloseInput();

    Vorn::PathBuffer programDir_;        // folder of the running program, no trailing separator
    Vorn::PathBuffer inputArchivePath_;  // as given
    Vorn::InternedString inputName_;     // mount name: file name without extension, lower case
    Vorn::NorvaneResourceDatabase* database_ = nullptr;  // of the input archive; shared, released

private:
    void OpenInput();
};

}  // namespace converter
