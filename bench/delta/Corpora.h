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

// Textures, meshes, sounds, bundles of them; each edited as a tool or an artist would.
std::vector<Pair> MakeAssets(std::size_t count);

// Configurations, scripts and small records from 200 bytes to 16 KB with small edits.
std::vector<Pair> MakeSmallFiles(std::size_t count);

// Programs and libraries of this machine with functions added and removed and every reference
// across them moved, as the next build would; and a bundle of headers with lines edited.
std::vector<Pair> MakeLarge(std::size_t count, std::size_t maxSize);

}  // namespace delta::bench
