#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace rix::bench {

/// An image of bytes to be labelled; one plane for 2D.
struct PeerImage {
    const std::uint8_t* voxels;
    std::size_t columns;
    std::size_t rows;
    std::size_t planes;
};

/// An algorithm of another library.
struct LabelingPeer {
    const char* name;
    bool (*takes)(int neighbours, int threads);
    /// Makes ready what labels the image into 32 bits and returns the number of labels. Its memory is kept from call to
    /// call.
    std::function<std::uint64_t()> (*prepare)(const PeerImage& image, int neighbours, int threads);
};

/// The algorithms of all libraries that were found.
const std::vector<LabelingPeer>& labelingPeers();

}  // namespace rix::bench
