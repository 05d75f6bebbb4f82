#include "library/PatchCalls.h"

namespace va {
namespace {

ErrorCode CodeOf(patch::ErrorCode code) {
    switch (code) {
        case patch::ErrorCode::NotFound:
            return ErrorCode::NotFound;
        case patch::ErrorCode::NoSpace:
            return ErrorCode::DiskFull;
        case patch::ErrorCode::NoMemory:
            return ErrorCode::NoMemory;
        default:
            return ErrorCode::Refused;
    }
}

}  // namespace

Error Translate(const patch::Error& error) {
    return {CodeOf(error.Code()), error.what(), error.Path(), error.Member()};
}

}  // namespace va
