#pragma once

#include <cstddef>
#include <mutex>

/// How the library lives with `fork`: a child has the forking thread only, so whatever another thread held at that
/// moment stays held in it for ever.
///
/// - Every lock that outlives runs is one of `Lock`. The forking thread takes them all before the fork and gives them
///   back after it, in parent and child.
/// - What is made when it is first used, under a lock of the compiler's making, is made before the first fork
///   (`ForkHooks::makeAll`).
/// - Threads that wait for work end before the fork (`ForkHooks::endThreads`). When the forking thread is not the only
///   one then, the child keeps away from oneTBB, whose allocator has locks that any thread may hold: its runs stay in
///   their caller's thread.
namespace rix::process {

/// In the order in which they are taken: who holds one takes later ones only.
enum class Lock : std::size_t {
    Start,           ///< `init` and `finish`
    Plugins,         ///< the loaded ones
    Registry,        ///< the classes of algorithms
    Objects,         ///< the classes of result objects
    Runs,            ///< how many there are
    Workers,         ///< the idle ones
    Arenas,          ///< the idle ones
    Settings,        ///< the global ones
    Processor,       ///< what is known of it
    DiskCache,       ///< the chunks of images on disk that are in memory
    RecycledMemory,  ///< big buffers that wait for reuse
    Count
};

std::mutex& mutexOf(Lock lock) noexcept;

/// What the forking thread calls before the fork, in this order; all may be null.
struct ForkHooks {
    void (*makeAll)() = nullptr;
    /// Ends the threads that wait for work; not called while a run is on its way. No lock is held, since what waits for
    /// a thread of oneTBB may wait for a run there.
    void (*endThreads)() = nullptr;
    /// With all locks held: gives up what waits for work once more.
    void (*releaseIdle)() = nullptr;
};

/// Given by the layer that has threads, when it is first used. Safe from any thread.
void setForkHooks(const ForkHooks& hooks);

/// A run that is on its way, in the thread that called it.
class ActiveRun {
public:
    ActiveRun();
    ~ActiveRun();
    ActiveRun(const ActiveRun&) = delete;
    ActiveRun& operator=(const ActiveRun&) = delete;
};

/// True in a child of a process that had other threads, and in its children, and during a run that began while the threads
/// of oneTBB were ending for a fork and did not come to an end: no thread may be started.
bool staysInCallersThread() noexcept;

/// The number of forks between the first process that used the library and this one.
unsigned generation() noexcept;

}  // namespace rix::process
