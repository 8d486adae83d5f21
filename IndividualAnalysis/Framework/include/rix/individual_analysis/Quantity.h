#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include <rix/Export.h>
#include <rix/access/Looks.h>
#include <rix/access/MemoryAccount.h>

namespace rix::individual_analysis {

class IntensityLines;
class Quantity;
class QuantityTable;

/// A maximal stretch [begin, end) of equal label in a row; background makes none.
struct Run {
    std::uint32_t begin;
    std::uint32_t end;
    std::uint32_t label;
    std::uint32_t slot;  ///< number of the object in the table that is being filled
};

/// The row that is being gathered.
class RIX_EXPORT RunLine {
public:
    /// Ascending and disjoint. None only for quantities that look at neighbouring rows.
    std::span<const Run> runs() const { return m_current; }
    std::uint32_t row() const { return m_row; }
    std::uint32_t plane() const { return m_plane; }
    /// Of the grey values; 0 for quantities that need none.
    std::size_t channel() const { return m_channel; }

    /// The grey values of the whole row in the present channel, converted when first asked for.
    virtual std::span<const double> values() const = 0;
    /// The runs of a row that was read before, for quantities that look at neighbouring rows: that one row above
    /// (-1, 0), or of the plane before the row above, the same one, or the one below (-1 to 1, -1). Empty beyond the
    /// image. Their slots mean nothing.
    virtual std::span<const Run> neighbour(int rows, int planes) const = 0;
    /// The slot of the object with a label; that of a neighbour may be new.
    virtual std::uint32_t slotOf(std::uint32_t label) const = 0;
    /// The grey values in their own type, for the library's kernels.
    virtual const IntensityLines& intensity() const = 0;

protected:
    RunLine() = default;
    virtual ~RunLine();

    std::span<const Run> m_current;
    std::uint32_t m_row = 0;
    std::uint32_t m_plane = 0;
    std::size_t m_channel = 0;
};

/// What the library has to know of a class of quantities. One static object a class; its address identifies it.
struct QuantityInfo {
    const char* name;
    /// Makes the quantity of a table, see `makeQuantity`.
    std::unique_ptr<Quantity> (*create)(QuantityTable& table);
    bool needsIntensity = false;  ///< `add` is called for each channel, after all quantities without grey values
    bool needsNeighbours =
        false;  ///< `add` may look at rows before, and without grey values sees rows without runs, too
    // For the statement of memory, which is made before anything is read: the most bytes that it keeps.
    std::size_t bytesOfObject = 0;
    std::size_t bytesOfObjectAndChannel = 0;
    std::size_t bytesOfRun = 0;
};

/// Where an object of a band goes.
struct JoinedObject {
    std::uint32_t from;  ///< its number in the band
    std::uint32_t to;    ///< its number in the table of the frame
};

/// A band that is joined: its quantity, and where each of its objects goes.
struct JoinedBand {
    const Quantity* quantity;
    std::span<const std::uint32_t> indices;
};

/// Something that is gathered of every object in the one pass over the runs of a label image.
///
/// Bands of rows have tables of their own, each filled by one thread: `add` row by row, then `finishBand`. The tables
/// of a frame's bands are then joined into the one that measures read: `startJoin`, `join` band by band in their order,
/// at the same time for different objects, and `finishJoin`. Memory is kept in `CountedVector`s, so that it counts, and
/// ends with the object, which is as soon as it is not read any more. What takes long of itself, a loop over all
/// objects of a band or a frame, looks for a request to cancel with `access::Looks`.
///
/// A quantity may use others of its table, see `QuantityTable::use`. In `add` these are ahead of it, in `finishBand`
/// and `join` behind: there it still finds them as they were.
class RIX_EXPORT Quantity {
public:
    virtual ~Quantity();

    /// Makes room for objects, from 0 up; called before a row with new ones is added.
    virtual void grow(std::size_t objects) = 0;
    virtual void add(const RunLine& line) = 0;
    virtual void finishBand();
    /// Makes room for the objects of a frame.
    virtual void startJoin(std::size_t objects, std::span<const JoinedBand> bands);
    /// Adds objects of a band, which is of the same class.
    virtual void join(const Quantity& band, std::span<const JoinedObject> objects) = 0;
    virtual void finishJoin();

protected:
    Quantity() = default;
    Quantity(const Quantity&) = delete;
    Quantity& operator=(const Quantity&) = delete;

    /// Makes a vector longer, never shorter; its capacity is a power of two.
    template <class T>
    static void lengthen(access::CountedVector<T>& values, std::size_t count) {
        if (count > values.capacity()) {
            values.reserve(std::bit_ceil(count));
        }
        access::resizeWithLooks(values, count);
    }
};

/// A quantity that keeps one `Value` for each object, or one for each object and channel.
template <class Value>
class ValuesOfObjects : public Quantity {
public:
    void grow(std::size_t objects) override { lengthen(m_values, objects * m_channels); }
    void startJoin(std::size_t objects, std::span<const JoinedBand> /*bands*/) override {
        access::resizeWithLooks(m_values, objects * m_channels);
    }

    std::size_t objects() const { return m_values.size() / m_channels; }
    std::size_t channels() const { return m_channels; }
    /// That of an object; the channel does not matter where all share it.
    Value& of(std::size_t object, std::size_t channel = 0) { return m_values[place(object, channel)]; }
    const Value& of(std::size_t object, std::size_t channel = 0) const { return m_values[place(object, channel)]; }

protected:
    /// The values of all objects, those of an object's channels side by side.
    Value* data() { return m_values.data(); }

    /// @param channels 1 unless there is a value for each channel
    explicit ValuesOfObjects(std::size_t channels = 1) : m_channels(channels) {}

private:
    std::size_t place(std::size_t object, std::size_t channel) const {
        return m_channels == 1 ? object : object * m_channels + channel;
    }

    std::size_t m_channels;
    access::CountedVector<Value> m_values;
};

/// The same, for values that are joined each on its own: `Derived` has
/// `static void joinValues(Value& left, const Value& right)`.
template <class Derived, class Value>
class SumsOfObjects : public ValuesOfObjects<Value> {
public:
    void join(const Quantity& band, std::span<const JoinedObject> objects) override {
        const auto& other = static_cast<const SumsOfObjects&>(band);
        for (const JoinedObject& object : objects) {
            for (std::size_t channel = 0; channel < this->channels(); ++channel) {
                Derived::joinValues(this->of(object.to, channel), other.of(object.from, channel));
            }
        }
    }

protected:
    using ValuesOfObjects<Value>::ValuesOfObjects;
};

/// What quantities know of the images before they read them.
struct GatheredImage {
    std::size_t columns = 0;
    std::size_t rows = 0;
    std::size_t planes = 1;
    std::size_t channels = 1;  ///< of the grey values
};

/// The quantities of one table of objects, each of a class of its own.
class RIX_EXPORT QuantityTable {
public:
    struct Entry {
        const QuantityInfo* info;
        std::unique_ptr<Quantity> quantity;
    };

    explicit QuantityTable(const GatheredImage& image);
    ~QuantityTable();
    QuantityTable(QuantityTable&& other) noexcept;
    QuantityTable& operator=(QuantityTable&& other) noexcept;

    const GatheredImage& image() const { return m_image; }
    /// The quantity of that class, made when there is none. What a quantity uses it asks for when it is made.
    Quantity& use(const QuantityInfo& info);
    template <class Q>
    Q& use() {
        return static_cast<Q&>(use(Q::info));
    }
    /// Null when there is none.
    const Quantity* find(const QuantityInfo& info) const;
    /// In the order of their use: what is used comes before what uses it.
    const std::vector<Entry>& entries() const { return m_entries; }

private:
    GatheredImage m_image;
    std::vector<Entry> m_entries;
};

/// For `QuantityInfo::create`: makes a quantity from its table.
template <class Q>
std::unique_ptr<Quantity> makeQuantity(QuantityTable& table) {
    return std::make_unique<Q>(table);
}

}  // namespace rix::individual_analysis
