#include "Worker.h"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>

#include <pthread.h>
#include <tbb/global_control.h>

#include "IdleStore.h"
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

/// A thread that waits for jobs.
class Worker {
public:
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
        std::unique_lock lock(m_mutex);
        m_ended.wait(lock, [this] { return m_done.load(); });
    }

    std::exception_ptr takeError() { return std::exchange(m_error, nullptr); }

private:
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
                job();
            } catch (...) {
                error = std::current_exception();
            }
            lock.lock();
            m_error = std::move(error);
            m_done = true;
            m_ended.notify_one();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_ended;
    std::optional<access::FunctionRef<void()>> m_job;
    std::atomic<bool> m_called = false;  ///< there is a job or the end
    std::atomic<bool> m_done = false;
    bool m_stop = false;
    std::exception_ptr m_error;
    std::thread m_thread;  // last: it uses the others
};

IdleStore<Worker>& idleWorkers() {
    static IdleStore<Worker> store;
    return store;
}

std::unique_ptr<Worker> takeWorker() {
    std::unique_ptr<Worker> worker = idleWorkers().take([](const Worker& /*worker*/) { return true; });
    return worker != nullptr ? std::move(worker) : std::make_unique<Worker>();
}

/// Ends the threads of oneTBB, unless others in the process use it at this moment.
void endSchedulerThreads() {
    try {
        tbb::task_scheduler_handle scheduler{tbb::attach{}};
        static_cast<void>(tbb::finalize(scheduler, std::nothrow));
    } catch (const std::bad_alloc&) {
        return;  // they stay
    }
}

// A process that forks leaves its threads behind, and what they held at that moment stays locked in the child. So all
// threads that wait for work end first, ours and those of oneTBB; parent and child start new ones when needed.
void lockForFork() {
    idleWorkers().lockForFork();
    ThreadLimiter::lockForFork();
    endSchedulerThreads();
}

void unlockAfterFork() {
    ThreadLimiter::unlockAfterFork();
    idleWorkers().unlockAfterFork();
}

}  // namespace

void runInWorker(access::FunctionRef<void()> job, std::chrono::milliseconds period, access::FunctionRef<void()> tick) {
    static const int handlers = ::pthread_atfork(lockForFork, unlockAfterFork, unlockAfterFork);
    static_cast<void>(handlers);
    std::unique_ptr<Worker> worker = takeWorker();
    worker->start(job);
    std::exception_ptr tickError;
    while (tickError == nullptr && !worker->waitFor(period)) {
        try {
            tick();
        } catch (...) {
            tickError = std::current_exception();
        }
    }
    worker->wait();
    const std::exception_ptr jobError = worker->takeError();
    idleWorkers().give(std::move(worker));
    if (tickError != nullptr) {
        std::rethrow_exception(tickError);
    }
    if (jobError != nullptr) {
        std::rethrow_exception(jobError);
    }
}

void releaseIdleWorkers() {
    idleWorkers().release();
}

}  // namespace rix::algorithms
