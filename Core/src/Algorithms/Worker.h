#pragma once

#include <chrono>

#include <rix/access/FunctionRef.h>

namespace rix::algorithms {

/// Runs `job` in a worker thread and waits for its end, calling `tick` in the calling thread after every `period`.
///
/// Workers are kept and reused, since starting a thread costs more than a small image. The caller wakes at once when
/// the job ends, whatever the period. What `job` throws is thrown here. When `tick` throws, or ends the calling thread,
/// it is not called again and `stop` asks the job to end; once it has, the exception is thrown, or the thread ends.
/// @return false when the system has no thread to give; nothing was called then
bool runInWorker(access::FunctionRef<void()> job, std::chrono::milliseconds period, access::FunctionRef<void()> tick,
                 access::FunctionRef<void()> stop);

/// Ends the workers that are idle; later runs start new ones.
void releaseIdleWorkers();

}  // namespace rix::algorithms
