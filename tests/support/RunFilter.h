#pragma once

#include <gtest/gtest.h>

#include <rix/image/MemoryImage.h>

namespace rix::test {

/// Runs a filter that is set up but for its images, and sees that it held no more memory than it stated.
template <class Filter>
io::MemoryImage runFilter(Filter& filter, const ImageModel& input) {
    io::MemoryImage output;
    filter.setInputImage(&input);
    filter.setOutputImage(&output);
    const std::size_t stated = filter.describe().extraMemory;
    filter.run();
    EXPECT_LE(filter.getPeakExtraMemory(), stated);
    return output;
}

}  // namespace rix::test
