#include "Progression.h"

#include <algorithm>

namespace rix::algorithms {

Progression::Division::Division(std::size_t count, std::span<const double> weights) : m_count(count) {
    m_ends.reserve(weights.size());
    double sum = 0.0;
    for (const double weight : weights) {
        sum += std::max(0.0, weight);
        m_ends.push_back(sum);
    }
    if (sum > 0.0) {
        for (double& end : m_ends) {
            end /= sum;
        }
    } else {
        m_ends.clear();
    }
}

double Progression::Division::boundary(std::size_t step) const {
    if (step == 0 || step == m_count) {  // exactly
        return step == 0 ? m_range.begin : m_range.end;
    }
    const double part = m_ends.empty() ? static_cast<double>(step) / static_cast<double>(m_count) : m_ends[step - 1];
    return m_range.begin + (m_range.end - m_range.begin) * part;
}

Progression::Range Progression::Division::takeNext() {
    if (m_next >= m_count) {
        return {m_range.end, m_range.end};
    }
    const std::size_t step = m_next++;
    return {boundary(step), boundary(step + 1)};
}

void Progression::reset(Progression* parent) {
    const std::lock_guard lock(m_mutex);
    m_value.store(0.0, std::memory_order_relaxed);
    m_parent = parent;
    m_pass = Division();
    m_divisions.clear();
    // A child that runs before any step was started fills the run.
    begin({}, 1.0);
}

void Progression::startPass(std::size_t index, std::size_t count) {
    const std::lock_guard lock(m_mutex);
    const Range range{static_cast<double>(index) / static_cast<double>(count),
                      static_cast<double>(index + 1) / static_cast<double>(count)};
    m_pass = Division();
    m_pass.setRange(range);
    m_divisions.clear();
    begin(range, 1.0);
}

void Progression::openSteps(std::size_t count, std::span<const double> weights) {
    const std::lock_guard lock(m_mutex);
    m_divisions.reserve(m_divisions.size() + 1);  // nothing is taken when this fails
    Division division(count, weights);
    division.setRange(innermost().takeNext());
    begin({division.range().begin, division.range().begin}, 1.0);
    m_divisions.push_back(std::move(division));
}

void Progression::closeSteps() noexcept {
    const std::lock_guard lock(m_mutex);
    if (m_divisions.empty()) {
        return;  // the division outlived its run
    }
    const double end = m_divisions.back().range().end;
    m_divisions.pop_back();
    begin({end, end}, 1.0);
}

void Progression::startStep(double work) {
    const std::lock_guard lock(m_mutex);
    begin(innermost().takeNext(), work > 0.0 ? work : 1.0);
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
    begin({1.0, 1.0}, 1.0);
}

void Progression::begin(Range step, double work) {
    m_step = step;
    m_work = work;
    m_done = 0.0;
    publish();
}

void Progression::publish() {
    const double value = std::min(1.0, m_step.begin + (m_step.end - m_step.begin) * (m_done / m_work));
    if (value > m_value.load(std::memory_order_relaxed)) {
        m_value.store(value, std::memory_order_relaxed);
        if (m_parent != nullptr) {
            m_parent->childProgressed(value);
        }
    }
}

}  // namespace rix::algorithms
