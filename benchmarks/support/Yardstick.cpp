#include "Yardstick.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>

#include <immintrin.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <rix/Library.h>
#include <rix/access/VoxelTypeLists.h>

namespace rix::bench {

io::MemoryImage randomImage(VoxelTypes type, std::size_t columns, std::size_t rows) {
    io::MemoryImage image;
    if (!image.reserve(type, columns, rows, 1, 1, 1)) {
        throw MemoryError("no memory for the benchmark's image");
    }
    std::mt19937_64 random(1);
    access::dispatch(access::AllTypes{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        auto* const samples = reinterpret_cast<T*>(image.getInternalBuffer());
        for (std::size_t i = 0; i < columns * rows; ++i) {
            samples[i] = static_cast<T>(static_cast<float>(random() % 251) + 1.0F);
        }
    });
    return image;
}

namespace {

/// One megabyte a piece: long enough for the prefetcher, short enough to share among threads.
constexpr std::size_t piece = std::size_t{1} << 20;
/// Within a piece, reading and writing alternate as often as operations do.
constexpr std::size_t turn = std::size_t{4} << 10;

/// 64 bytes in, 64 bytes out, as far as each side has them.
template <bool stream>
__attribute__((target("avx2"))) void moveTurn(const std::uint8_t* from, std::size_t in, std::uint8_t* to,
                                              std::size_t out) {
    __m256i sum = _mm256_setzero_si256();
    const std::size_t both = std::min(in, out);
    const auto store = [to](std::size_t at, __m256i value) __attribute__((target("avx2"))) {
        auto* const address = reinterpret_cast<__m256i*>(to + at);
        if constexpr (stream) {
            _mm256_stream_si256(address, value);
        } else {
            _mm256_store_si256(address, value);
        }
    };
    const auto load = [from](std::size_t at) __attribute__((target("avx2"))) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + at));
    };
    std::size_t i = 0;
    for (; i + 64 <= both; i += 64) {
        store(i, load(i));
        store(i + 32, load(i + 32));
    }
    for (; i + 64 <= in; i += 64) {
        sum = _mm256_xor_si256(sum, _mm256_xor_si256(load(i), load(i + 32)));
    }
    for (; i + 64 <= out; i += 64) {
        store(i, sum);
        store(i + 32, sum);
    }
    if (in > out) {
        benchmark::DoNotOptimize(sum);
    }
}

template <bool stream>
void movePiece(const std::uint8_t* from, std::size_t in, std::uint8_t* to, std::size_t out) {
    const std::size_t turns = std::max<std::size_t>(1, std::max(in, out) / turn);
    const std::size_t inTurn = in / turns & ~std::size_t{63};
    const std::size_t outTurn = out / turns & ~std::size_t{63};
    for (std::size_t i = 0; i < turns; ++i) {
        const bool last = i + 1 == turns;  // takes what is left
        moveTurn<stream>(from + i * inTurn, last ? in - i * inTurn : inTurn, to + i * outTurn,
                         last ? out - i * outTurn : outTurn);
    }
    if constexpr (stream) {
        _mm_sfence();
    }
}

template <bool stream>
void move(const std::uint8_t* from, std::size_t in, std::uint8_t* to, std::size_t out, tbb::task_arena& arena) {
    const std::size_t pieces = std::max<std::size_t>(1, std::max(in, out) / piece);
    const auto one = [&](std::size_t i) {
        const std::size_t inPiece = in / pieces & ~std::size_t{63};
        const std::size_t outPiece = out / pieces & ~std::size_t{63};
        movePiece<stream>(from + i * inPiece, inPiece, to + i * outPiece, outPiece);
    };
    if (arena.max_concurrency() == 1) {
        for (std::size_t i = 0; i < pieces; ++i) {
            one(i);
        }
    } else {
        arena.execute([&] { tbb::parallel_for(std::size_t{0}, pieces, one); });
    }
}

}  // namespace

int runBenchmarks(int argc, char** argv, void (*registerAll)()) {
    rix::init();
    if (registerAll != nullptr) {
        registerAll();
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    rix::finish();
    return 0;
}

void registerRoof(const char* name, std::size_t in, std::size_t out, int threads) {
    // One pair of buffers for all: to fill them takes longer than to measure.
    static io::MemoryImage source;
    static io::MemoryImage target;
    const auto grow = [](io::MemoryImage& image, std::size_t bytes) {
        if (image.getNumOf(COLUMNS) < bytes) {
            image = randomImage(RIX_UINT8, bytes, 1);
        }
    };
    for (const bool stream : {false, true}) {
        const std::string full =
            std::string("roof/") + name + (stream ? "/stream" : "/plain") + "/threads:" + std::to_string(threads);
        benchmark::RegisterBenchmark(
            full.c_str(),
            [=](benchmark::State& state) {
                grow(source, in);
                grow(target, out);
                tbb::task_arena arena(threads);
                for (auto _ : state) {
                    if (stream) {
                        move<true>(source.getInternalBuffer(), in, target.getInternalBuffer(), out, arena);
                    } else {
                        move<false>(source.getInternalBuffer(), in, target.getInternalBuffer(), out, arena);
                    }
                    benchmark::ClobberMemory();
                }
                setBytes(state, in + out);
            })
            ->UseRealTime()
            ->Unit(benchmark::kMicrosecond);
    }
}

}  // namespace rix::bench
