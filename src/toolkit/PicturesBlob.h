#pragma once

// How rendered pictures are stored: a header, a table sorted by name and then size, and the pixels of each entry
// compressed, rows of premultiplied ARGB of which each but the first is the difference to the row above. Written at
// build time on the same machine type, so numbers are in its own byte order.

#include <cstdint>

namespace zun::picturesblob {

inline constexpr std::uint32_t magic = 0x315a4e50;

struct Header {
    std::uint32_t magic;
    std::uint32_t count;
};

struct Entry {
    char name[40];
    std::uint32_t width, height;   // pixels
    std::uint32_t offset, length;  // of the compressed pixels, from the start of the blob
};

}  // namespace zun::picturesblob
