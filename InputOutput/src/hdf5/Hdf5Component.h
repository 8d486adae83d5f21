#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "../StoredSamples.h"

/// What the component for HDF5 gives: data sets of files as arrays. It knows nothing of images, and nothing of this
/// library but this header; whatever fails is a `std::runtime_error` with a sentence. All of it may be called from any
/// thread: libhdf5, which may not, is used by one at a time.
namespace rix::io::hdf5 {

/// What is noted of a data set: texts and numbers under names.
struct Notes {
    std::map<std::string, std::string> texts{};
    std::map<std::string, std::vector<double>> numbers{};
    std::vector<std::string> axes{};  ///< names of its axes, the slowest first; empty for none
};

struct Array {
    StoredKind kind = StoredKind::Unsigned;  ///< of its elements, as they are read, in the byte order of this machine
    std::size_t bytes = 1;                   ///< of such an element
    bool isBoolean = false;
    std::vector<std::size_t> shape{};   ///< the slowest axis first
    std::vector<std::size_t> chunks{};  ///< empty where all lies in one piece
    int deflate = 0;                    ///< when it is made: the level of its compression, 0 for none
    std::string storage{};              ///< for people: "deflate, shuffle"
};

/// A data set of a file.
struct Listed {
    std::string name{};
    std::string description{};  ///< "uint16 of 3 x 512 x 512"
    bool isImage = false;       ///< numbers along 2 to 5 axes
};

/// A box of an array.
struct Region {
    std::vector<std::size_t> first;
    std::vector<std::size_t> count;
};

/// The elements of an array in a file.
class Elements {
public:
    Elements() = default;
    Elements(const Elements&) = delete;
    Elements& operator=(const Elements&) = delete;
    virtual ~Elements() = default;
    /// Copies a region to the beginning of an array in memory. @param shape of that array
    virtual void read(const Region& region, const std::vector<std::size_t>& shape, void* elements) = 0;
};

/// An array that is there.
class Source : public Elements {
public:
    virtual const Array& array() const = 0;
    virtual const Notes& notes() const = 0;
};

/// An array that is made.
class Target : public Elements {
public:
    /// Copies a region out of the beginning of an array in memory.
    virtual void write(const Region& region, const std::vector<std::size_t>& shape, const void* elements) = 0;
    /// Ends the file.
    virtual void finish(const Notes& notes) = 0;
};

struct Component {
    /// The first data sets of a file, at most so many.
    std::vector<Listed> (*list)(const std::string& path, std::size_t most);
    std::unique_ptr<Source> (*open)(const std::string& path, const std::string& name);
    /// Makes a file of this data set alone, whatever was there.
    std::unique_ptr<Target> (*create)(const std::string& path, const std::string& name, const Array& array);
};

}  // namespace rix::io::hdf5
