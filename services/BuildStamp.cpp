#include "services/BuildStamp.h"

// The placeholders of a build without a stamp.
#ifdef VORN_STAMP_VERSION
#define VORN_HAS_STAMP true
#else
#define VORN_HAS_STAMP false
#define VORN_STAMP_VERSION "RRRRR.RR"
#endif
#ifndef VORN_STAMP_NUMBER
#define VORN_STAMP_NUMBER "1234.5"
#endif
#ifndef VORN_STAMP_SUFFIX
#define VORN_STAMP_SUFFIX "QQQQQ"
#endif

namespace Vorn {

std::string BuildStamp() {
    return "Vorn v" VORN_STAMP_VERSION " Build " VORN_STAMP_NUMBER "." VORN_STAMP_SUFFIX;
}

bool HasBuildStamp() { return VORN_HAS_STAMP; }

const char* BuildDate() { return __DATE__; }

const char* BuildTime() { return __TIME__; }

}  // namespace Vorn
