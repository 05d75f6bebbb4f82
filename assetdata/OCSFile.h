// A file that holds a tag tree.
#pragma once

#include "assetdata/OCSChunk.h"
#include "assetdata/TStream.h"

namespace Vorn {

class OCSFile : public ReferenceCountMP {
public:
    // False when the stream holds no such file.
    virtual bool Read(TStream& stream) = 0;
    // A place in the order of operations that nothing uses.
    virtual void Reserved() {}
    // Null when nothing is loaded.
    [[nodiscard]] virtual OCSChunkRef Root() = 0;
};

}  // namespace Vorn
