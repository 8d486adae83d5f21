#include <rix/individual_analysis/Quantity.h>

#include <algorithm>

namespace rix::individual_analysis {

RunLine::~RunLine() = default;

Quantity::~Quantity() = default;
void Quantity::finishBand() {}
void Quantity::startJoin(std::size_t objects, std::span<const JoinedBand> /*bands*/) {
    grow(objects);
}
void Quantity::finishJoin() {}

QuantityTable::QuantityTable(const GatheredImage& image) : m_image(image) {}
QuantityTable::~QuantityTable() = default;
QuantityTable::QuantityTable(QuantityTable&& other) noexcept = default;
QuantityTable& QuantityTable::operator=(QuantityTable&& other) noexcept = default;

Quantity& QuantityTable::use(const QuantityInfo& info) {
    const auto found =
        std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.info == &info; });
    if (found != m_entries.end()) {
        return *found->quantity;
    }
    auto made = info.create(*this);  // enters what it uses first
    return *m_entries.emplace_back(&info, std::move(made)).quantity;
}

const Quantity* QuantityTable::find(const QuantityInfo& info) const {
    const auto found =
        std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.info == &info; });
    return found != m_entries.end() ? found->quantity.get() : nullptr;
}

}  // namespace rix::individual_analysis
