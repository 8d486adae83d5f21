#include "Progression.h"

#include <algorithm>

namespace rix::algorithms {

void Progression::reset(Progression* parent) {
    const std::lock_guard lock(m_mutex);
    m_value.store(0.0, std::memory_order_relaxed);
    m_parent = parent;
    m_end = 1.0;
    m_begin = 0.0;
    m_width = 1.0;
    m_work = 1.0;
    m_done = 0.0;
    m_started = false;
}

void Progression::startPass(std::size_t index, std::size_t count) {
    const std::lock_guard lock(m_mutex);
    m_begin = static_cast<double>(index) / static_cast<double>(count);
    m_end = static_cast<double>(index + 1) / static_cast<double>(count);
    m_width = m_end - m_begin;
    m_done = 0.0;
    m_started = false;
    publish();
}

void Progression::declareSteps(std::size_t steps) {
    const std::lock_guard lock(m_mutex);
    if (m_started) {
        m_begin = std::min(m_end, m_begin + m_width);
        m_started = false;
    }
    m_width = (m_end - m_begin) / static_cast<double>(std::max<std::size_t>(steps, 1));
    m_done = 0.0;
}

void Progression::startStep(double work) {
    const std::lock_guard lock(m_mutex);
    if (m_started) {
        m_begin = std::min(m_end, m_begin + m_width);
        m_width = std::min(m_width, m_end - m_begin);  // more steps than declared: progress waits at its end
    }
    m_started = true;
    m_work = work > 0.0 ? work : 1.0;
    m_done = 0.0;
    publish();
}

void Progression::add(double work) {
    const std::lock_guard lock(m_mutex);
    m_done = std::min(m_done + work, m_work);
    publish();
}

void Progression::childProgressed(double fraction) {
    const std::lock_guard lock(m_mutex);
    m_done = std::max(m_done, fraction * m_work);
    publish();
}

void Progression::finish() {
    const std::lock_guard lock(m_mutex);
    m_begin = m_end = 1.0;
    m_width = 0.0;
    publish();
}

void Progression::publish() {
    const double value = std::min(1.0, m_begin + m_width * (m_done / m_work));
    if (value > m_value.load(std::memory_order_relaxed)) {
        m_value.store(value, std::memory_order_relaxed);
        if (m_parent != nullptr) {
            m_parent->childProgressed(value);
        }
    }
}

}  // namespace rix::algorithms
