#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "delta/Bytes.h"

namespace delta::bench {

struct Pair {
    std::string name;
    ByteBuffer before;
    ByteBuffer after;
};

// Returns textures, meshes, sounds and bundles of them, each edited as a tool or an artist would.
std::vector<Pair> MakeAssets(std::size_t count);

// Returns configurations, scripts and small records from 200 bytes to 16 KB with small edits.
std::vector<Pair> MakeSmallFiles(std::size_t count);

// Returns programs and libraries of this machine with functions added and removed and every
// reference across them adjusted, as in the next build; and a bundle of headers with lines edited.
std::vector<Pair> MakeLarge(std::size_t count, std::size_t maxSize);

}  // namespace delta::bench
