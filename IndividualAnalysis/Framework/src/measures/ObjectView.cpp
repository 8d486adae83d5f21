#include <rix/individual_analysis/ObjectView.h>

#include <rix/exceptions/Exception.h>

#include "gathering/GreyValues.h"

namespace rix::individual_analysis {

double ObjectView::percentile(double percentage) const {
    if (m_frame.values == nullptr) {
        throw InvalidCall("A measure reads all grey values without being of the type \"Values\".");
    }
    return m_frame.values->percentile(m_index, m_channel, percentage);
}

void ObjectView::refuse(const QuantityInfo& info) {
    throw InvalidCall(String("A measure reads the quantity \"") + info.name +
                      "\", which its definition does not name.");
}

}  // namespace rix::individual_analysis
