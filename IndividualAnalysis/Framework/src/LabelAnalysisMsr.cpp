#include <rix/individual_analysis/LabelAnalysisMsr.h>

#include <stdexcept>
#include <string>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::individual_analysis {

using measurement::BaseMeasurementArray;
using measurement::MeasurementArray;

namespace {

const BaseMeasurementArray& arrayOf(const LabelAnalysisMsr::Column& column) {
    return std::visit([](const auto& array) -> const BaseMeasurementArray& { return array; }, column);
}

}  // namespace

class LabelAnalysisMsr::Table : public vessel::DataFrameView {
public:
    explicit Table(const LabelAnalysisMsr& object) : m_object(object) {}

    std::size_t getRowCount() const override { return m_object.label.size(); }
    std::size_t getColumnCount() const override { return keys + m_object.values.size(); }
    const vessel::ColumnInfo& getColumnInfo(std::size_t column) const override { return at(column).getColumnInfo(); }
    vessel::ColumnType getColumnType(std::size_t column) const override {
        return dynamic_cast<const MeasurementArray<double>*>(&at(column)) != nullptr ? vessel::ColumnType::REAL
                                                                                     : vessel::ColumnType::INTEGER;
    }
    std::span<const double> getReals(std::size_t column) const override { return valuesOf<double>(column, "reals"); }
    std::span<const std::int64_t> getIntegers(std::size_t column) const override {
        return valuesOf<std::int64_t>(column, "integers");
    }
    std::span<const std::string> getTexts(std::size_t column) const override {
        return valuesOf<String>(column, "texts");
    }

private:
    static constexpr std::size_t keys = 2;

    const BaseMeasurementArray& at(std::size_t column) const {
        if (column >= getColumnCount()) {
            throw std::out_of_range("there is no column " + std::to_string(column));
        }
        return column == 0 ? m_object.frame : column == 1 ? m_object.label : arrayOf(m_object.values[column - keys]);
    }
    template <class T>
    std::span<const T> valuesOf(std::size_t column, const char* kind) const {
        const auto* const array = dynamic_cast<const MeasurementArray<T>*>(&at(column));
        if (array == nullptr) {
            throw std::invalid_argument("the column " + at(column).getName() + " does not hold " + kind);
        }
        return {array->begin(), array->size()};
    }

    const LabelAnalysisMsr& m_object;
};

LabelAnalysisMsr::LabelAnalysisMsr()
    : frame("Frame", "Index on the sequence axis."),
      label("Label", "Label of the object."),
      m_table(std::make_unique<Table>(*this)) {}
LabelAnalysisMsr::~LabelAnalysisMsr() = default;

const ObjectInfo& LabelAnalysisMsr::getInfo() {
    static const ObjectInfo info("LabelAnalysisMsr", []() -> std::shared_ptr<measurement::MeasurementObject> {
        return std::make_shared<LabelAnalysisMsr>();
    });
    return info;
}

const ObjectInfo& LabelAnalysisMsr::getClassInfo() const {
    return getInfo();
}

String LabelAnalysisMsr::getDescription() const {
    return "This object contains the measures of the objects of a label image.";
}

const vessel::DataFrameView& LabelAnalysisMsr::getTable() const {
    return *m_table;
}

std::vector<const BaseMeasurementArray*> LabelAnalysisMsr::arrays() const {
    std::vector<const BaseMeasurementArray*> all{&frame, &label};
    for (const Column& column : values) {
        all.push_back(&arrayOf(column));
    }
    return all;
}

}  // namespace rix::individual_analysis
