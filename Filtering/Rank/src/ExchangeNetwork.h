#pragma once

#include <cstddef>
#include <cstdint>

namespace rix::filtering::rank {

/// Exchanges of values that stand in places, known when the program is compiled, so that kernels keep the values in
/// registers. What is not used afterwards is not computed: the compiler leaves it out.
struct ExchangeNetwork {
    static constexpr std::size_t mostPlaces = 32;
    static constexpr std::size_t mostExchanges = 96;

    /// The smaller one goes to the first place.
    struct Exchange {
        std::uint8_t low;
        std::uint8_t high;
    };
    /// Places in ascending order of their values.
    struct Order {
        std::uint8_t places[mostPlaces] = {};
        std::size_t count = 0;

        constexpr void add(std::uint8_t place) { places[count++] = place; }
        constexpr Order everySecond(std::size_t first) const {
            Order part;
            for (std::size_t i = first; i < count; i += 2) {
                part.add(places[i]);
            }
            return part;
        }
    };

    Exchange exchanges[mostExchanges] = {};
    std::size_t count = 0;
    Order order;

    constexpr void exchange(std::uint8_t low, std::uint8_t high) { exchanges[count++] = {low, high}; }

    /// Odd-even merging of any two lengths (Batcher; Knuth, The Art of Computer Programming 3, 5.3.4).
    constexpr Order merge(const Order& a, const Order& b) {
        if (a.count == 0 || b.count == 0) {
            return a.count == 0 ? b : a;
        }
        Order all;
        if (a.count == 1 && b.count == 1) {
            exchange(a.places[0], b.places[0]);
            all.add(a.places[0]);
            all.add(b.places[0]);
            return all;
        }
        const Order first = merge(a.everySecond(0), b.everySecond(0));
        const Order second = merge(a.everySecond(1), b.everySecond(1));
        all.add(first.places[0]);
        for (std::size_t i = 0; i < second.count || i + 1 < first.count; ++i) {
            if (i < second.count && i + 1 < first.count) {
                exchange(second.places[i], first.places[i + 1]);
            }
            if (i < second.count) {
                all.add(second.places[i]);
            }
            if (i + 1 < first.count) {
                all.add(first.places[i + 1]);
            }
        }
        return all;
    }

    /// So many places from a first one on.
    static constexpr Order ofPlaces(std::size_t first, std::size_t places) {
        Order all;
        for (std::size_t i = 0; i < places; ++i) {
            all.add(static_cast<std::uint8_t>(first + i));
        }
        return all;
    }

    constexpr Order sort(const Order& unsorted) {
        if (unsorted.count < 2) {
            return unsorted;
        }
        Order halves[2];
        for (std::size_t i = 0; i < unsorted.count; ++i) {
            halves[i < unsorted.count / 2 ? 0 : 1].add(unsorted.places[i]);
        }
        const Order left = sort(halves[0]);
        return merge(left, sort(halves[1]));
    }
};

/// Sorts so many places.
constexpr ExchangeNetwork sortingNetwork(std::size_t places) {
    ExchangeNetwork network;
    network.order = network.sort(ExchangeNetwork::ofPlaces(0, places));
    return network;
}

/// Merges so many sorted places with as many behind them.
constexpr ExchangeNetwork mergingNetwork(std::size_t places) {
    ExchangeNetwork network;
    network.order = network.merge(ExchangeNetwork::ofPlaces(0, places), ExchangeNetwork::ofPlaces(places, places));
    return network;
}

inline constexpr ExchangeNetwork sort3 = sortingNetwork(3);
inline constexpr ExchangeNetwork sort5 = sortingNetwork(5);
inline constexpr ExchangeNetwork merge5 = mergingNetwork(5);
inline constexpr ExchangeNetwork merge10 = mergingNetwork(10);

}  // namespace rix::filtering::rank
