#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <vessel/DataFrame.h>

namespace rix::cli {

/// The tables of several files as one: a first column "File", and the columns of all, in the order in which they come.
/// Columns of one name and different units stay apart. What a table does not have is no number, or an empty text.
class JoinedTable {
public:
    /// Takes the table of a file; parts may come in any order.
    /// @param place of the file among all, which orders the rows
    void add(std::size_t place, const std::string& file, vessel::DataFrame table);
    bool empty() const { return m_parts.empty(); }
    vessel::DataFrame toDataFrame() const;

private:
    struct Part {
        std::size_t place;
        std::string file;
        vessel::DataFrame table;
    };
    std::vector<Part> m_parts;  ///< by place
};

}  // namespace rix::cli
