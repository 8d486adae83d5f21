#include <charconv>
#include <cmath>
#include <span>
#include <string_view>

#include "PortableMath.h"
#include "Shapes.h"

namespace rix::synthesis {

namespace {

/// A shape in texts: its word, and what the numbers before the value are.
struct Form {
    const char* word;
    ShapeKind kind;
    const char* numbers;
};

/// In the order of the kinds.
constexpr Form planeForms[] = {
    {"DISK", ShapeKind::Ball, "x y radius"},
    {"ELLIPSE", ShapeKind::Ellipsoid, "x y radiusX radiusY angle"},
    {"BOX", ShapeKind::Box, "x y sizeX sizeY angle"},
    {"TUBE", ShapeKind::Tube, "x1 y1 x2 y2 radius"},
    {"RING", ShapeKind::Ring, "x y radius innerRadius"},
};
constexpr Form spaceForms[] = {
    {"BALL", ShapeKind::Ball, "x y z radius"},
    {"ELLIPSOID", ShapeKind::Ellipsoid, "x y z radiusX radiusY radiusZ"},
    {"BOX", ShapeKind::Box, "x y z sizeX sizeY sizeZ"},
    {"TUBE", ShapeKind::Tube, "x1 y1 z1 x2 y2 z2 radius"},
    {"RING", ShapeKind::Ring, "x y z radius tubeRadius"},
};

std::span<const Form> formsOf(bool inSpace) {
    return inSpace ? std::span<const Form>(spaceForms) : std::span<const Form>(planeForms);
}

std::vector<std::string_view> wordsOf(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    std::vector<std::string_view> words;
    for (std::size_t begin = text.find_first_not_of(blanks); begin != std::string_view::npos;) {
        const std::size_t end = std::min(text.find_first_of(blanks, begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(blanks, end);
    }
    return words;
}

/// Numbers in their order.
class Numbers {
public:
    explicit Numbers(std::span<const double> numbers) : m_left(numbers) {}
    double next() {
        const double number = m_left.front();
        m_left = m_left.subspan(1);
        return number;
    }
    Point point(bool inSpace) {
        const double x = next();
        const double y = next();
        return {x, y, inSpace ? next() : 0.0};
    }

private:
    std::span<const double> m_left;
};

void turn(Shape& shape, double degrees) {
    shape.cosine = cosineOfTurns(degrees / 360.0);
    shape.sine = cosineOfTurns(degrees / 360.0 - 0.25);
}

Shape shapeFrom(const Form& form, bool inSpace, std::span<const double> values) {
    Numbers numbers(values);
    Shape shape;
    shape.kind = form.kind;
    shape.inSpace = inSpace;
    shape.centre = numbers.point(inSpace);
    switch (form.kind) {
        case ShapeKind::Ball: {
            const double radius = numbers.next();
            shape.size = {radius, radius, radius};
            break;
        }
        case ShapeKind::Ellipsoid: shape.size = numbers.point(inSpace); break;
        case ShapeKind::Box:
            shape.size = numbers.point(inSpace);
            for (double& side : shape.size) {
                side /= 2;
            }
            break;
        case ShapeKind::Tube: {
            shape.end = numbers.point(inSpace);
            const double radius = numbers.next();
            shape.size = {radius, radius, radius};
            break;
        }
        case ShapeKind::Ring:
            shape.size[0] = numbers.next();
            shape.size[1] = numbers.next();
            break;
    }
    if (!inSpace && (form.kind == ShapeKind::Ellipsoid || form.kind == ShapeKind::Box)) {
        turn(shape, numbers.next());
    }
    shape.value = numbers.next();
    return shape;
}

bool sizesMakeSense(const Shape& shape) {
    const auto& [x, y, z] = shape.size;
    if (shape.kind == ShapeKind::Ring) {
        return shape.inSpace ? y > 0 && x >= y : y >= 0 && x > y;
    }
    return x > 0 && y > 0 && (!shape.inSpace || z > 0);
}

}  // namespace

const char* wordOf(const Shape& shape) {
    return formsOf(shape.inSpace)[static_cast<std::size_t>(shape.kind)].word;
}

String shapeForms(bool inSpace) {
    String text;
    for (const Form& form : formsOf(inSpace)) {
        text += (text.empty() ? "" : "; ") + String(form.word) + ' ' + form.numbers + " value";
    }
    return text;
}

std::vector<Shape> readShapes(const String& text, bool inSpace, std::optional<ShapeError>& error) {
    constexpr double furthest = 1e12;  // beyond it doubles say too little of places between voxels
    std::vector<Shape> shapes;
    const std::string_view all(text);
    for (std::size_t begin = 0; begin <= all.size();) {
        const std::size_t end = std::min(all.find_first_of(";\n", begin), all.size());
        const std::string_view item = all.substr(begin, end - begin);
        begin = end + 1;
        const std::vector<std::string_view> words = wordsOf(item);
        if (words.empty()) {
            continue;
        }
        const auto fail = [&](const String& what) {
            error = ShapeError{"Shape " + std::to_string(shapes.size() + 1) + ", \"" + String(item.substr(0, 200)) +
                               "\": " + what};
            return std::vector<Shape>();
        };
        const Form* form = nullptr;
        String known;
        for (const Form& each : formsOf(inSpace)) {
            form = words[0] == each.word ? &each : form;
            known += (known.empty() ? "" : ", ") + String(each.word);
        }
        if (form == nullptr) {
            return fail("the first word must be one of " + known + '.');
        }
        std::vector<double> numbers;
        for (std::size_t i = 1; i < words.size(); ++i) {
            double number = 0;
            const auto [next, problem] = std::from_chars(words[i].data(), words[i].data() + words[i].size(), number);
            if (problem != std::errc() || next != words[i].data() + words[i].size() ||
                !(std::fabs(number) <= furthest)) {
                return fail('"' + String(words[i]) + "\" must be a number from -1e12 to 1e12.");
            }
            numbers.push_back(number);
        }
        if (numbers.size() != wordsOf(form->numbers).size() + 1) {
            return fail(String("it must be ") + form->word + ' ' + form->numbers + " value.");
        }
        const Shape shape = shapeFrom(*form, inSpace, numbers);
        if (!sizesMakeSense(shape)) {
            return fail(
                "radii and sides must be positive, an inner radius smaller than the outer one, and the radius of a "
                "ring's tube at most that of the ring.");
        }
        shapes.push_back(shape);
    }
    return shapes;
}

}  // namespace rix::synthesis
