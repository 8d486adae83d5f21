#include "RankNetwork.h"

#include <algorithm>
#include <map>
#include <utility>

namespace rix::filtering::rank {

/// What steps are made of: values, each of which is a minimum or a maximum of two others, or a row.
class RankNetwork::Builder {
public:
    /// A value so many voxels further on.
    struct Item {
        std::size_t value;
        std::uint32_t shift;
    };

    Builder(const RankWindow& window, std::size_t index)
        : m_window(window), m_index(index), m_voxels(window.voxels()), m_inputs(window.rows * window.planes) {
        for (std::size_t i = 0; i < m_inputs; ++i) {
            m_values.push_back({Kind::Row, {}, {}, 0});
        }
    }

    /// The value looked for.
    std::size_t select() {
        std::vector<std::size_t> columns;
        for (std::size_t x = 0; x < m_window.columns; ++x) {
            columns.push_back(columnId(x));
        }
        if (columns.size() == 1) {
            const Group group = groupOf(columns);
            return group.items[m_index - group.below].value;
        }
        const std::size_t half = leftHalf(columns.size());
        const Group left = groupOf({columns.begin(), columns.begin() + static_cast<std::ptrdiff_t>(half)});
        const Group right = groupOf({columns.begin() + static_cast<std::ptrdiff_t>(half), columns.end()});
        return selectOf(left.items, shifted(right.items, half), m_index - left.below - right.below).value;
    }

    void writeSteps(std::size_t result, RankNetwork& network) {
        std::vector<std::uint32_t> more(m_values.size());
        std::vector<char> isNeeded(m_values.size());
        isNeeded[result] = 1;
        for (std::size_t v = m_values.size(); v-- > m_inputs;) {
            for (const Item& item : {m_values[v].a, m_values[v].b}) {
                if (isNeeded[v] != 0) {
                    isNeeded[item.value] = 1;
                    more[item.value] = std::max(more[item.value], more[v] + item.shift);
                }
            }
        }
        std::vector<std::size_t> lastUse(m_values.size());
        for (std::size_t v = m_inputs; v < m_values.size(); ++v) {
            if (isNeeded[v] != 0) {
                lastUse[m_values[v].a.value] = lastUse[m_values[v].b.value] = stepOf(v, isNeeded);
            }
        }
        lastUse[result] = m_values.size();
        Lines lines(m_values.size(), m_inputs);
        for (std::size_t v = m_inputs; v < m_values.size(); ++v) {
            if (isNeeded[v] == 0 || stepOf(v, isNeeded) != v) {
                continue;
            }
            const Value& value = m_values[v];
            const std::size_t twin = value.twin;
            const bool both = isNeeded[twin] != 0;
            Step step{lines.of[value.a.value],
                      lines.of[value.b.value],
                      none,
                      none,
                      value.a.shift,
                      value.b.shift,
                      both ? std::max(more[v], more[twin]) : more[v]};
            // A line may be written where it was read: what is read later lies behind.
            for (const std::size_t operand : {value.a.value, value.b.value}) {
                if (lastUse[operand] == v) {
                    lines.release(operand);
                }
            }
            const auto write = [&](std::size_t which) {
                (m_values[which].kind == Kind::Minimum ? step.low : step.high) = lines.take(which);
                ++network.m_operations;
            };
            write(v);
            if (both) {
                write(twin);
            }
            network.m_steps.push_back(step);
        }
        network.m_lines = lines.count - m_inputs;
        network.m_result = lines.of[result];
    }

private:
    enum class Kind : std::uint8_t { Row, Minimum, Maximum };
    struct Value {
        Kind kind;
        Item a;
        Item b;
        std::size_t twin;  ///< the other of minimum and maximum
    };
    /// Some columns in ascending order, without so many values that are not above the one looked for, and so many that
    /// are not below it.
    struct Group {
        std::vector<Item> items;
        std::size_t below = 0;
        std::size_t above = 0;
    };
    /// Lines that values stand in.
    struct Lines {
        Lines(std::size_t values, std::size_t rows) : of(values), count(rows), inputs(rows) {
            for (std::size_t i = 0; i < rows; ++i) {
                of[i] = static_cast<std::uint16_t>(i);
            }
        }
        std::uint16_t take(std::size_t value) {
            if (free.empty()) {
                free.push_back(static_cast<std::uint16_t>(count++));
            }
            of[value] = free.back();
            free.pop_back();
            return of[value];
        }
        void release(std::size_t value) {
            if (of[value] >= inputs && std::find(free.begin(), free.end(), of[value]) == free.end()) {
                free.push_back(of[value]);
            }
        }
        std::vector<std::uint16_t> of;
        std::vector<std::uint16_t> free;
        std::size_t count;
        std::size_t inputs;
    };

    /// The first of a pair that is needed stands for the step of both.
    std::size_t stepOf(std::size_t value, const std::vector<char>& isNeeded) const {
        const std::size_t twin = m_values[value].twin;
        return twin < value && isNeeded[twin] != 0 ? twin : value;
    }

    static std::size_t leftHalf(std::size_t count) {
        std::size_t half = 1;
        while (2 * half < count) {
            half *= 2;
        }
        return half;
    }

    static std::vector<Item> shifted(std::vector<Item> items, std::size_t by) {
        for (Item& item : items) {
            item.shift += static_cast<std::uint32_t>(by);
        }
        return items;
    }

    /// Columns with the same rows are the same.
    std::size_t columnId(std::size_t x) {
        std::vector<std::size_t> rows;
        const auto distance = static_cast<std::int64_t>(x) - static_cast<std::int64_t>(m_window.columns / 2);
        for (std::size_t plane = 0; plane < m_window.planes; ++plane) {
            for (std::size_t row = 0; row < m_window.rows; ++row) {
                if (!m_window.isRound || std::abs(distance) <= m_window.halfChord(row, plane)) {
                    rows.push_back(plane * m_window.rows + row);
                }
            }
        }
        const auto found = std::find(m_columns.begin(), m_columns.end(), rows);
        if (found != m_columns.end()) {
            return static_cast<std::size_t>(found - m_columns.begin());
        }
        m_columns.push_back(rows);
        return m_columns.size() - 1;
    }

    const Group& groupOf(const std::vector<std::size_t>& columns) {
        if (const auto found = m_groups.find(columns); found != m_groups.end()) {
            return found->second;
        }
        Group group;
        if (columns.size() == 1) {
            std::vector<Item> rows;
            for (const std::size_t row : m_columns[columns.front()]) {
                rows.push_back({row, 0});
            }
            group.items = sorted(rows);
        } else {
            const auto middle = columns.begin() + static_cast<std::ptrdiff_t>(leftHalf(columns.size()));
            const Group left = groupOf({columns.begin(), middle});
            const Group right = groupOf({middle, columns.end()});
            group.items = merged(left.items, shifted(right.items, leftHalf(columns.size())));
            group.below = left.below + right.below;
            group.above = left.above + right.above;
        }
        leaveOut(group);
        return m_groups.emplace(columns, std::move(group)).first->second;
    }

    /// With so many values elsewhere, an item can't be the one looked for when too many are below or above it here.
    void leaveOut(Group& group) const {
        const std::size_t count = group.below + group.items.size() + group.above;
        const std::size_t elsewhere = m_voxels - count;
        const std::size_t first = m_index > elsewhere ? m_index - elsewhere : 0;
        const std::size_t end = std::min(m_index + 1, count);
        const auto itemAt = [&](std::size_t position) {
            const std::size_t inside = position > group.below ? position - group.below : 0;
            return static_cast<std::ptrdiff_t>(std::min(inside, group.items.size()));
        };
        const std::vector<Item> kept(group.items.begin() + itemAt(first), group.items.begin() + itemAt(end));
        group.below = std::max(group.below, first);
        group.above = count - group.below - kept.size();
        group.items = kept;
    }

    std::pair<Item, Item> exchange(const Item& a, const Item& b) {
        const std::size_t low = m_values.size();
        m_values.push_back({Kind::Minimum, a, b, low + 1});
        m_values.push_back({Kind::Maximum, a, b, low});
        return {{low, 0}, {low + 1, 0}};
    }

    std::vector<Item> sorted(const std::vector<Item>& items) {
        if (items.size() < 2) {
            return items;
        }
        const auto middle = items.begin() + static_cast<std::ptrdiff_t>(items.size() / 2);
        return merged(sorted({items.begin(), middle}), sorted({middle, items.end()}));
    }

    /// Odd-even merging of any two lengths (Batcher; Knuth, The Art of Computer Programming 3, 5.3.4).
    std::vector<Item> merged(const std::vector<Item>& a, const std::vector<Item>& b) {
        if (a.empty() || b.empty()) {
            return a.empty() ? b : a;
        }
        if (a.size() == 1 && b.size() == 1) {
            const auto [low, high] = exchange(a.front(), b.front());
            return {low, high};
        }
        const auto everySecond = [](const std::vector<Item>& items, std::size_t first) {
            std::vector<Item> part;
            for (std::size_t i = first; i < items.size(); i += 2) {
                part.push_back(items[i]);
            }
            return part;
        };
        const std::vector<Item> first = merged(everySecond(a, 0), everySecond(b, 0));
        const std::vector<Item> second = merged(everySecond(a, 1), everySecond(b, 1));
        std::vector<Item> all{first.front()};
        for (std::size_t i = 0; i < second.size() || i + 1 < first.size(); ++i) {
            if (i < second.size() && i + 1 < first.size()) {
                const auto [low, high] = exchange(second[i], first[i + 1]);
                all.push_back(low);
                all.push_back(high);
            } else {
                all.push_back(i < second.size() ? second[i] : first[i + 1]);
            }
        }
        return all;
    }

    /// The item of an index in two sorted lists: the smallest of the largest of i and j items, i + j = index + 1.
    Item selectOf(const std::vector<Item>& a, const std::vector<Item>& b, std::size_t index) {
        Item result{};
        bool isFirst = true;
        for (std::size_t i = index + 1 > b.size() ? index + 1 - b.size() : 0; i <= std::min(a.size(), index + 1); ++i) {
            const std::size_t j = index + 1 - i;
            const Item largest = i == 0 ? b[j - 1] : j == 0 ? a[i - 1] : exchange(a[i - 1], b[j - 1]).second;
            result = isFirst ? largest : exchange(result, largest).first;
            isFirst = false;
        }
        return result;
    }

    const RankWindow& m_window;
    std::size_t m_index;
    std::size_t m_voxels;
    std::size_t m_inputs;
    std::vector<Value> m_values;
    std::vector<std::vector<std::size_t>> m_columns;
    std::map<std::vector<std::size_t>, Group> m_groups;
};

RankNetwork::RankNetwork(const RankWindow& window, std::size_t index)
    : m_inputs(window.rows * window.planes), m_more(window.columns - 1) {
    Builder builder(window, index);
    const std::size_t result = builder.select();
    builder.writeSteps(result, *this);
}

}  // namespace rix::filtering::rank
