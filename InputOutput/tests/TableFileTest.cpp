// Lines and triangles as files that other programs read: every number is looked for at its place.

#include <filesystem>
#include <fstream>
#include <sstream>

#include <vessel/DataFrame.h>

#include <rix/io/TableFile.h>

#include "Testing.h"

namespace rix::test {
namespace {

namespace fs = std::filesystem;

class TableFiles : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(m_folder); }
    void TearDown() override { fs::remove_all(m_folder); }

    std::string write(const std::string& name, const vessel::DataFrame& table) const {
        io::writeTable(m_folder / name, table);
        std::ifstream file(m_folder / name, std::ios::binary);
        std::ostringstream bytes;
        bytes << file.rdbuf();
        return bytes.str();
    }
    fs::path folder() const { return m_folder; }

private:
    fs::path m_folder = fs::temp_directory_path() / ("rix-tables-" + std::to_string(::getpid()));
};

template <class T>
T numberAt(const std::string& bytes, std::size_t offset) {
    T number;
    std::memcpy(&number, bytes.data() + offset, sizeof(T));
    return number;
}

/// Two triangles with an edge in common; the numbers of corners have gaps.
vessel::DataFrame triangles() {
    vessel::DataFrame table;
    const std::int64_t numbers[2][3] = {{4, 7, 9}, {7, 12, 9}};
    const std::map<std::int64_t, std::array<double, 3>> places{
        {4, {0.0, 0.0, 0.5}}, {7, {2.0, 0.0, 0.5}}, {9, {0.0, 3.0, 0.5}}, {12, {2.0, 3.0, 0.5}}};
    for (std::size_t i = 0; i < 3; ++i) {
        table.addColumn({"Vertex" + std::to_string(i + 1), "", ""},
                        std::vector<std::int64_t>{numbers[0][i], numbers[1][i]});
    }
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            table.addColumn({std::string{static_cast<char>('X' + axis), static_cast<char>('1' + i)}, "mm", ""},
                            std::vector<double>{places.at(numbers[0][i])[axis], places.at(numbers[1][i])[axis]});
        }
    }
    return table;
}

TEST_F(TableFiles, HoldTrianglesAsStlAndPly) {
    const std::string stl = write("surface.stl", triangles());
    ASSERT_EQ(stl.size(), 84U + 2 * 50);
    EXPECT_EQ(numberAt<std::uint32_t>(stl, 80), 2U);
    for (std::size_t row = 0; row < 2; ++row) {
        const std::size_t at = 84 + row * 50;
        EXPECT_EQ(numberAt<float>(stl, at + 8), 1.0F) << "the normal leads along z";
        EXPECT_EQ(numberAt<float>(stl, at + 12), row == 0 ? 0.0F : 2.0F);
        EXPECT_EQ(numberAt<float>(stl, at + 12 + 32), 0.5F);
    }
    const std::string ply = write("surface.ply", triangles());
    const std::string heading =
        "ply\nformat binary_little_endian 1.0\nelement vertex 4\nproperty double x\nproperty double y\n"
        "property double z\nelement face 2\nproperty list uchar int vertex_indices\nend_header\n";
    ASSERT_EQ(ply.substr(0, heading.size()), heading);
    ASSERT_EQ(ply.size(), heading.size() + 4 * 24 + 2 * 13);
    EXPECT_EQ(numberAt<double>(ply, heading.size() + 3 * 24), 2.0);
    EXPECT_EQ(numberAt<double>(ply, heading.size() + 3 * 24 + 8), 3.0);
    const std::size_t faces = heading.size() + 4 * 24;
    EXPECT_EQ(ply[faces + 13], 3);
    EXPECT_EQ(numberAt<std::int32_t>(ply, faces + 14), 1);
    EXPECT_EQ(numberAt<std::int32_t>(ply, faces + 18), 3);
    EXPECT_EQ(numberAt<std::int32_t>(ply, faces + 22), 2);
}

TEST_F(TableFiles, HoldLinesAsDrawings) {
    vessel::DataFrame table;
    // The third line has the number of the second, in another frame.
    table.addColumn({"Frame", "", ""}, std::vector<std::int64_t>{0, 0, 0, 0, 1, 1});
    table.addColumn({"Line", "", ""}, std::vector<std::int64_t>{1, 1, 2, 2, 2, 2});
    table.addColumn({"X", "", ""}, std::vector<double>{0, 100, 10, 20, 30, 40});
    table.addColumn({"Y", "", ""}, std::vector<double>{5, 50.5, 10, 10, 20, 20});
    EXPECT_EQ(write("lines.svg", table),
              "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"-1 4 102 47.5 \" fill=\"none\" stroke=\"black\">\n"
              "<polyline vector-effect=\"non-scaling-stroke\" points=\"0,5 100,50.5\"/>\n"
              "<polyline vector-effect=\"non-scaling-stroke\" points=\"10,10 20,10\"/>\n"
              "<polyline vector-effect=\"non-scaling-stroke\" points=\"30,20 40,20\"/>\n"
              "</svg>\n");
    EXPECT_EQ(write("lines.csv", table).substr(0, 14), "Frame,Line,X,Y");
    for (const char* const name : {"lines.stl", "lines.ply", "lines.txt"}) {
        EXPECT_THROW(io::writeTable(folder() / name, table), WritingError) << name;
        EXPECT_FALSE(fs::exists(folder() / name));
    }
    EXPECT_THROW(io::writeTable(folder() / "surface.svg", triangles()), WritingError);
}

}  // namespace
}  // namespace rix::test
