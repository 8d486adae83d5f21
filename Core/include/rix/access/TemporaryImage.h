#pragma once

#include <cstddef>
#include <memory>

#include <rix/Export.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/FunctionRef.h>
#include <rix/access/MemoryAccount.h>
#include <rix/image/MemoryImage.h>

namespace rix::access {

/// An image that lives within a run and whose rows are read and written as those of any other. In memory, and its bytes
/// count as the run's extra memory; or on disk where the settings of the run say so (see
/// `MemoryAccount::keepsImagesOnDisk`), and what of it is in memory counts as the cache of all images on disk.
class RIX_EXPORT TemporaryImage {
public:
    /// Of the extents, the elements and the interpretation of `like`, and of its voxel type or another one. The samples
    /// are undefined.
    /// @throws MemoryError when the run may not have so much, ResizeImageError when there is none or no file
    explicit TemporaryImage(const ImageModel& like) : TemporaryImage(like, like.getVoxelType()) {}
    TemporaryImage(const ImageModel& like, VoxelTypes voxelType, TemporaryUse use = TemporaryUse::Any);

    ImageModel& image() { return *m_image; }
    const ImageModel& image() const { return *m_image; }

    /// The bytes of memory that it takes, for descriptions of runs; the greatest number there is when they do not fit
    /// 64 bits.
    static std::size_t bytes(const ImageModel& like, VoxelTypes voxelType, TemporaryUse use = TemporaryUse::Any);

private:
    MemoryCharge m_charge;
    std::unique_ptr<ImageModel> m_image;
};

/// A contiguous image in memory that lives within a run and counts as its extra memory: for what goes from place to
/// place instead of row by row.
class RIX_EXPORT TemporaryMemory {
public:
    /// As those of `TemporaryImage`.
    explicit TemporaryMemory(const ImageModel& like) : TemporaryMemory(like, like.getVoxelType()) {}
    TemporaryMemory(const ImageModel& like, VoxelTypes voxelType);

    io::MemoryImage& image() { return m_image; }
    const io::MemoryImage& image() const { return m_image; }

    static std::size_t bytes(const ImageModel& like, VoxelTypes voxelType);

private:
    MemoryCharge m_charge;
    io::MemoryImage m_image;
};

/// True when writing an output would disturb an input that is still to be read; false for no output.
RIX_EXPORT bool isOverwritten(const ImageModel& input, const ImageModel* output);

/// Calls `use` with an image as it is to be read, where rules have since given it, as an output of the same run,
/// another meaning: if it was binary, with its samples shown as 0 and 1; if only the result is binary, with its samples
/// as they are.
/// @param meaning of the image before the rules
RIX_EXPORT void readAsItWas(const ImageModel& image, Interpretations meaning, FunctionRef<void(const ImageModel&)> use);

/// Lets `compute` write all samples of an image that the run still has to read (see `isOverwritten`): into a
/// temporary image, whose samples replace those of `output` when it returns. Until then, and when it throws, `output`
/// is as it was.
///
/// The next step of the run: the call of `compute`, which starts one step, and the copy.
RIX_EXPORT void writeThroughTemporary(ExecutionContext& context, ImageModel& output,
                                      FunctionRef<void(ImageModel&)> compute);

/// Lets `compute` write all samples of an output from an input that it reads all the while: straight into it, or, where
/// it overwrites the input, through a temporary image.
RIX_EXPORT void writeApart(ExecutionContext& context, const ImageModel& input, ImageModel& output,
                           FunctionRef<void(ImageModel&)> compute);

/// The bytes of that temporary image, or 0. @param outputType that the output, which may be null, will have
RIX_EXPORT std::size_t writeApartMemory(const ImageModel& input, const ImageModel* output, VoxelTypes outputType);

}  // namespace rix::access
