#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace rix::io {

/// Length in metres of a unit of length; nothing for a name that is none of the usual ones.
inline std::optional<double> metresOf(std::string_view unit) {
    struct Unit {
        std::string_view name;
        double metres;
    };
    static constexpr std::array<Unit, 15> units{{
        {"m", 1.0},
        {"cm", 1e-2},
        {"mm", 1e-3},
        {"µm", 1e-6},  // micro sign
        {"μm", 1e-6},  // Greek letter
        {"um", 1e-6},
        {"micron", 1e-6},
        {"microns", 1e-6},
        {"micrometer", 1e-6},
        {"micrometre", 1e-6},
        {"nm", 1e-9},
        {"pm", 1e-12},
        {"km", 1e3},
        {"inch", 0.0254},
        {"in", 0.0254},
    }};
    for (const Unit& unitOfLength : units) {
        if (unitOfLength.name == unit) {
            return unitOfLength.metres;
        }
    }
    return std::nullopt;
}

}  // namespace rix::io
