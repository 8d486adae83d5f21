#pragma once

namespace rix::algorithms {

/// Gives the calling thread another priority while the object lives.
///
/// Above 0 raises the priority, below 0 lowers it, by that many steps of the scheduler's "nice" value. Nothing is
/// changed when the change could not be undone afterwards (an ordinary user may lower a priority but not raise it
/// again): a kept worker or a caller's thread must not stay slow.
class ThreadPriority {
public:
    explicit ThreadPriority(int priority);
    ~ThreadPriority();
    ThreadPriority(const ThreadPriority&) = delete;
    ThreadPriority& operator=(const ThreadPriority&) = delete;

private:
    bool m_changed = false;
    int m_previousNice = 0;
};

}  // namespace rix::algorithms
