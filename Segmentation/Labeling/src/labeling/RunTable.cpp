#include "labeling/RunTable.h"

#include <rix/exceptions/Exception.h>
#include <rix/image/ImageTypes.h>

namespace rix::segmentation {

template <class Node>
std::size_t RunTable<Node>::byteCount(std::size_t count, std::size_t size) {
    std::size_t bytes = 0;
    if (!helper::checkedMultiply(count, size, bytes)) {
        throw MemoryError("The working memory of the labeling does not fit 64 bits.");
    }
    return bytes;
}

template <class Node>
void RunTable<Node>::makeNodes(NodeRows nodeRows) {
    m_nodeRows = nodeRows;
    std::size_t total = 0;
    std::size_t volume = 0;
    std::size_t inVolume = 0;
    for (Band& band : m_bands) {
        if (band.volume != volume) {
            volume = band.volume;
            inVolume = 0;
        }
        if (inVolume == 0) {
            m_volumeFirstNode[volume] = total;
        }
        band.firstNode = inVolume;
        band.nodeCount = nodeRows == NodeRows::Pairs ? band.pairRuns : band.runs;
        inVolume += band.nodeCount;
        total += band.nodeCount;
    }
    m_volumeFirstNode.back() = total;
    m_nodes = access::Scratch(byteCount(total, sizeof(Node)));
}

template class RunTable<std::uint32_t>;
template class RunTable<std::uint64_t>;

}  // namespace rix::segmentation
