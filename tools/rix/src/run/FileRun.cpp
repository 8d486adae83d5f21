#include "FileRun.h"

#include <algorithm>
#include <chrono>

#include <nlohmann/json.hpp>

#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>
#include <rix/description/Values.h>
#include <rix/properties/Property.h>
#include <rix/settings/Settings.h>

#include "../Failure.h"
#include "../Interrupts.h"
#include "../Streams.h"
#include "../TableFiles.h"

namespace rix::cli {
namespace {

using description::ImageRole;

OptimLevelType levelFromOption(const std::string& text) {
    for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
        if (description::levelToString(level) == text) {
            return level;
        }
    }
    throw Failure(WRONG_USAGE, "--max-level can't be " + description::inQuotes(text) + ": it takes scalar, sse, avx",
                  description::suggest(text, {"scalar", "sse", "avx"}));
}

}  // namespace

std::shared_ptr<const vessel::DataFrame> tableOf(const std::vector<Result>& results) {
    const auto found =
        std::find_if(results.begin(), results.end(), [](const Result& result) { return result.table != nullptr; });
    return found == results.end() ? nullptr : found->table;
}

FileRun::FileRun(const FileRunRequest& request)
    : m_algorithm(description::createAlgorithm(description::findClass(request.className))), m_table(request.table) {
    setValues(request.assignments);
    applyLimits(request);
    request.each.applyTo(*m_algorithm);
    m_resultObjects.create(*m_algorithm);
    if (!m_table.empty()) {
        if (tableOf(results()) == nullptr) {
            throw Failure(WRONG_USAGE, "--csv: " + request.className + " makes no table");
        }
        checkCanWriteFile(m_table);
    }
    makeOutputs();
}

void FileRun::setValues(const std::vector<Assignment>& assignments) {
    for (const auto& [name, text] : assignments) {
        BaseProperty& property = description::findProperty(*m_algorithm, name);
        const ImageRole role = description::imageRoleOf(property);
        if (role != ImageRole::None) {
            if (text.empty()) {
                throw Failure(WRONG_USAGE, name + " needs the path of an image");
            }
            m_images.push_back({&property, role, text});
        } else if (property.isOutput()) {
            throw Failure(WRONG_USAGE, name + " is a result: it is printed after the run and can't be given");
        } else {
            description::setValue(property, text);
        }
    }
}

void FileRun::applyLimits(const FileRunRequest& request) {
    if (request.threads) {
        m_algorithm->settings().setMaximumNumberOfThreads(*request.threads);
    }
    if (request.memory) {
        m_memory.emplace(*request.memory);
        m_memory->limitReading();
    }
    if (!request.maxLevel.empty()) {
        m_algorithm->setMaxOptimLevel(levelFromOption(request.maxLevel));
    }
}

void FileRun::makeOutputs() {
    for (const Image& image : m_images) {
        if (image.role != ImageRole::Input) {
            checkCanWrite(image.path);
            std::unique_ptr<ImageModel> made =
                image.role == ImageRole::Output ? makeImage(image.path) : std::make_unique<io::MemoryImage>();
            dynamic_cast<Property<ImageModel*>&>(*image.property).set(made.get());
            m_outputs.push_back({image.property->getName(), image.path, std::move(made)});
        }
    }
}

void FileRun::announce(Targets& targets) const {
    for (const Image& image : m_images) {
        if (image.role != ImageRole::Output) {
            targets.addInput(image.path);
        }
        if (image.role != ImageRole::Input) {
            targets.addOutput(image.property->getName(), image.path, Targets::Kind::Image);
        }
    }
    if (!m_table.empty()) {
        targets.addOutput("--csv", m_table, Targets::Kind::Other);
    }
}

bool FileRun::usesStandardOutput() const {
    return isStandardStream(m_table) || std::any_of(m_outputs.begin(), m_outputs.end(),
                                                    [](const Output& output) { return isStandardStream(output.path); });
}

void FileRun::readInputs() {
    for (const Image& image : m_images) {
        if (image.role == ImageRole::Input) {
            dynamic_cast<Property<const ImageModel*>&>(*image.property).set(&m_inputs.read(image.path));
            if (m_memory) {
                m_memory->limitFurther(inputsOf(*m_algorithm));
            }
        } else if (image.role == ImageRole::InPlace) {
            // A copy of its own: the same file may also be an input that has to stay as it is.
            auto* const target = dynamic_cast<Property<ImageModel*>&>(*image.property).get();
            dynamic_cast<io::MemoryImage&>(*target) = *loadImage(image.path);
        }
    }
}

void FileRun::run(InteractionInterface& interaction) {
    readInputs();
    if (m_memory) {
        m_memory->fit(*m_algorithm);
    }
    m_notes = RunNotes(*m_algorithm);
    const auto start = std::chrono::steady_clock::now();
    m_algorithm->run(&interaction);
    m_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    m_results = readResults(*m_algorithm);
}

void FileRun::writeImages(const std::function<void(const std::string&)>& tell) {
    for (Output& output : m_outputs) {
        Interrupts::throwIfRequested();
        output.header = helper::headerOf(*output.image);
        const std::string described = helper::describeImage(*output.image);  // one on disk is gone when it is complete
        saveImage(output.path, *output.image);
        tell(output.property + " written to " +
             (isStandardStream(output.path) ? "standard output" : output.path.string()) + ' ' + described + '\n');
    }
}

nlohmann::json FileRun::toJson() const {
    nlohmann::json images = nlohmann::json::object();
    for (const Output& output : m_outputs) {
        images[output.property] = {{"path", output.path.string()},
                                   {"extents", output.header.extents},
                                   {"voxelType", helper::voxelTypesToString(output.header.voxelType)}};
    }
    nlohmann::json values = nlohmann::json::object();
    for (const Result& result : results()) {
        values[result.name] = result.toJson();
    }
    const auto level = m_algorithm->getLastRunLevel();
    nlohmann::json record = {{"class", m_algorithm->getClassInfo().getName()},
                             {"level", level ? nlohmann::json(description::levelToString(*level)) : nlohmann::json()},
                             {"seconds", m_seconds},
                             {"images", images},
                             {"results", values}};
    m_notes.addTo(record);
    return record;
}

}  // namespace rix::cli
