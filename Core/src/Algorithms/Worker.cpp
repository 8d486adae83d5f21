#include "Worker.h"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include <cxxabi.h>
#include <pthread.h>
#include <tbb/global_control.h>

#include <rix/access/BlockScheduler.h>
#include <rix/access/Plan.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/ModuleList.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/MemoryImage.h>
#include <rix/settings/Settings.h>

#include "IdleStore.h"
#include "Process/FloatingPoint.h"
#include "Process/Forks.h"
#include "ThreadLimiter.h"

namespace rix::algorithms {

namespace {

/// To put a thread to sleep and to wake it costs tens of microseconds, more than the whole run on a small image. Both
/// sides look for so long whether the other one is ready before they sleep; meanwhile any other thread goes first.
bool comesSoon(const std::atomic<bool>& event) {
    constexpr std::chrono::microseconds patience{50};
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!event.load(std::memory_order_acquire)) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

/// Keeps a request to end the calling thread (`pthread_cancel`) waiting while it lives.
class NoCancellation {
public:
    NoCancellation() { ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~NoCancellation() { ::pthread_setcancelstate(m_before, nullptr); }
    NoCancellation(const NoCancellation&) = delete;
    NoCancellation& operator=(const NoCancellation&) = delete;

private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};

/// A thread that waits for jobs.
class Worker {
public:
    /// @throws std::system_error when the system has no thread to give
    Worker() : m_thread([this] { loop(); }) {}

    ~Worker() {
        {
            const std::lock_guard lock(m_mutex);
            m_stop = true;
            m_called = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }

    void start(access::FunctionRef<void()> job) {
        {
            const std::lock_guard lock(m_mutex);
            m_job = job;
            m_done = false;
            m_error = nullptr;
            m_called = true;
        }
        m_wake.notify_one();
    }

    /// True when the job ended within the time.
    bool waitFor(std::chrono::milliseconds period) {
        if (comesSoon(m_done)) {
            return true;
        }
        std::unique_lock lock(m_mutex);
        return m_ended.wait_for(lock, period, [this] { return m_done.load(); });
    }

    void wait() {
        const NoCancellation noCancellation;
        std::unique_lock lock(m_mutex);
        m_ended.wait(lock, [this] { return m_done.load(); });
    }

    std::exception_ptr takeError() { return std::exchange(m_error, nullptr); }

    /// False when a job has ended the thread.
    bool isAlive() const { return m_isAlive; }

private:
    void finish(std::exception_ptr error) {
        const std::lock_guard lock(m_mutex);
        m_error = std::move(error);
        m_done = true;
        m_ended.notify_one();
    }

    void loop() {
        std::unique_lock lock(m_mutex);
        while (true) {
            lock.unlock();
            comesSoon(m_called);
            lock.lock();
            m_wake.wait(lock, [this] { return m_stop || m_job.has_value(); });
            if (m_stop) {
                return;
            }
            const access::FunctionRef<void()> job = *m_job;
            m_job.reset();
            m_called = false;
            lock.unlock();
            std::exception_ptr error;
            try {
                // Threads begin with the state of the one that started them.
                const process::DefaultFloatingPoint floatingPoint;
                job();
            } catch (const abi::__forced_unwind&) {
                m_isAlive = false;
                finish(std::make_exception_ptr(UnexpectedError("The thread of the run was ended from inside.")));
                throw;
            } catch (...) {
                error = std::current_exception();
            }
            finish(std::move(error));
            lock.lock();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_ended;
    std::optional<access::FunctionRef<void()>> m_job;
    std::atomic<bool> m_called = false;  ///< there is a job or the end
    std::atomic<bool> m_done = false;
    bool m_stop = false;
    bool m_isAlive = true;
    std::exception_ptr m_error;
    std::thread m_thread;  // last: it uses the others
};

IdleStore<Worker>& idleWorkers() {
    return IdleStore<Worker>::ofProcess<process::Lock::Workers>();
}

/// Null when the system has no thread to give.
std::unique_ptr<Worker> takeWorker() {
    std::unique_ptr<Worker> worker = idleWorkers().take([](const Worker& /*worker*/) { return true; });
    try {
        return worker != nullptr ? std::move(worker) : std::make_unique<Worker>();
    } catch (const std::system_error&) {
        return nullptr;
    }
}

void giveBack(std::unique_ptr<Worker> worker) {
    if (worker->isAlive()) {
        idleWorkers().give(std::move(worker));
    }
}

/// Uses each class once, for what it makes at its first use.
void makeAll() {
    // Nobody forks until all is made: the child would have what is half made. Then nobody takes the lock any more,
    // which a child could have as another thread left it.
    static constinit std::mutex making;
    static constinit std::atomic<bool> isMade{false};
    if (isMade.load(std::memory_order_acquire)) {
        return;
    }
    const std::lock_guard lock(making);
    if (isMade.load(std::memory_order_relaxed)) {
        return;
    }
    try {
        ThreadLimiter::defaultThreads();
        access::parallelScheduler();
        access::serialScheduler();
        idleWorkers();
        AlgoInfo::getNumOfAlgorithm();
        for (const ListedAlgorithm& listed : libraryAlgorithms()) {
            const std::unique_ptr<BaseAlgorithm> algorithm = listed.getInfo().createInstance(nullptr);
            // What every run asks for.
            static_cast<void>(algorithm->getMaximumExtraMemoryUsage());
            static_cast<void>(algorithm->getMaxOptimLevel());
        }
        for (const ObjectInfoAccessor getInfo : libraryObjects()) {
            getInfo();
        }
        access::getInfoPartitionMode();
        static_cast<void>(access::partitionModeOfSettings());
        static_cast<void>(getInfoOptimLevelType());
        static_cast<void>(io::MemoryImage().reserve(RIX_UINT8, 1, 1, 1, 1, 1));
    } catch (const std::exception&) {
        // The fork goes on without.
    }
    isMade.store(true, std::memory_order_release);
}

/// All threads that wait for work end, ours and those of oneTBB; parent and child start new ones when needed.
void endThreads() {
    try {
        // First: were ours the last to hold oneTBB, its threads would end on their own, some time.
        tbb::task_scheduler_handle scheduler{tbb::attach{}};
        releaseIdleWorkers();
        ThreadLimiter::releaseArenas();
        tbb::finalize(scheduler, std::nothrow);  // without success while others in the process use it
    } catch (const std::bad_alloc&) {
        releaseIdleWorkers();  // those of oneTBB stay
    }
}

void releaseIdle() {
    idleWorkers().releaseForFork();
    ThreadLimiter::releaseArenasForFork();
}

[[maybe_unused]] const bool hooksAreSet = (process::setForkHooks({makeAll, endThreads, releaseIdle}), true);

}  // namespace

bool runInWorker(access::FunctionRef<void()> job, std::chrono::milliseconds period, access::FunctionRef<void()> tick,
                 access::FunctionRef<void()> stop) {
    std::unique_ptr<Worker> worker = takeWorker();
    if (worker == nullptr) {
        return false;
    }
    worker->start(job);
    std::exception_ptr tickError;
    try {
        while (!worker->waitFor(period)) {
            tick();
        }
    } catch (const abi::__forced_unwind&) {
        // The calling thread is being ended, what the job uses with it.
        stop();
        worker->wait();
        giveBack(std::move(worker));
        throw;
    } catch (...) {
        tickError = std::current_exception();
        stop();
    }
    worker->wait();
    const std::exception_ptr jobError = worker->takeError();
    giveBack(std::move(worker));
    if (tickError != nullptr) {
        std::rethrow_exception(tickError);
    }
    if (jobError != nullptr) {
        std::rethrow_exception(jobError);
    }
    return true;
}

void releaseIdleWorkers() {
    idleWorkers().release();
}

}  // namespace rix::algorithms
