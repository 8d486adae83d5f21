#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <rix/description/Algorithms.h>
#include <rix/description/Text.h>

#include "../Commands.h"
#include "../Failure.h"
#include "../FileOptions.h"
#include "../Output.h"
#include "../Progress.h"
#include "../Streams.h"
#include "../TableFiles.h"
#include "../batch/Batch.h"
#include "../batch/BatchOptions.h"
#include "../batch/FileList.h"
#include "../batch/JoinedTable.h"
#include "../run/FileRun.h"

namespace rix::cli {
namespace {

struct RunOptions {
    std::string className;
    std::vector<std::string> assignments;
    std::optional<int> threads;
    std::optional<std::uint64_t> memory;
    std::string maxLevel;
    std::string each;
    std::string csv;
    BatchOptions batch;
    bool noProgress = false;
    bool json = false;
};

FileRunRequest requestOf(const RunOptions& options, std::vector<Assignment> assignments) {
    return {.className = options.className,
            .assignments = std::move(assignments),
            .each = eachFromText(options.each, "--each"),
            .threads = options.threads,
            .memory = options.memory,
            .maxLevel = options.maxLevel,
            .table = options.csv};
}

[[noreturn]] void refuseJson() {
    throw Failure(WRONG_USAGE, "--json and an output \"-\" would both go to standard output");
}

void tellOfTable(const std::string& path, const vessel::DataFrameView& table) {
    writeMessage("table of " + std::to_string(table.getRowCount()) + " rows written to " +
                 (path == "-" ? "standard output" : path) + '\n');
}

void report(const FileRun& run, const RunOptions& options) {
    const auto results = run.results();
    if (!options.csv.empty()) {
        const auto table = tableOf(results);
        saveTable(options.csv, *table);
        tellOfTable(options.csv, *table);
    }
    if (options.json) {
        writeJson(run.toJson());
        return;
    }
    for (const std::string& note : run.notes()) {
        writeMessage(note);
    }
    for (const Result& result : results) {
        if (result.table == nullptr || options.csv.empty()) {
            run.usesStandardOutput() ? writeMessage(result.toText()) : writeData(result.toText());
        }
    }
}

int runOne(const RunOptions& options) {
    FileRun run(requestOf(options, parseAssignments(options.assignments)));
    if (options.json && run.usesStandardOutput()) {
        refuseJson();
    }
    Targets targets;
    run.announce(targets);
    targets.refuseCollisions();
    {
        // Objects on standard error are for programs: no bar between them.
        ConsoleInteraction interaction(chooseProgressDisplay(!options.noProgress && !options.json));
        run.run(interaction);
    }
    run.writeImages([&](const std::string& line) {
        if (!options.json) {
            writeMessage(line);
        }
    });
    report(run, options);
    return DONE;
}

/// A batch over the files that a pattern in an input image stands for, as in inputImage='*.tif'.
void takePatternAsFiles(RunOptions& options, std::vector<Assignment>& assignments) {
    const auto algorithm = description::createAlgorithm(description::findClass(options.className));
    for (Assignment& assignment : assignments) {
        const auto role = description::imageRoleOf(description::findProperty(*algorithm, assignment.name));
        if (role == description::ImageRole::None || role == description::ImageRole::Output ||
            !isFilePattern(assignment.text)) {
            continue;
        }
        if (!options.batch.files.empty()) {
            throw Failure(WRONG_USAGE, assignment.name +
                                           " can't be a pattern: another one gives the files already; name " +
                                           "those that belong to one of them with {stem} and its like");
        }
        options.batch.files = {assignment.text};
        assignment.text = "{file}";
    }
}

class BatchRun {
public:
    BatchRun(const RunOptions& options, const std::vector<Assignment>& assignments)
        : m_options(options),
          m_assignments(assignments),
          m_batch(expandFiles(options.batch.files), chooseProgressDisplay(!options.noProgress && !options.json)),
          m_joins(!options.csv.empty() && !hasPlaceholder(options.csv)) {}

    int run() {
        const auto& files = m_batch.files();
        Targets targets;
        for (std::size_t i = 0; i < files.size(); ++i) {
            const FileRun member(requestOf(i));
            refuseStandardOutput(member);
            targets.beginUnit();
            member.announce(targets);
        }
        if (m_joins) {
            if (m_options.json && isStandardStream(m_options.csv)) {
                refuseJson();
            }
            targets.beginUnit();
            targets.addOutput("--csv", m_options.csv, Targets::Kind::Other);
        }
        targets.refuseCollisions();
        m_objects.resize(files.size());
        m_batch.run(m_options.batch.jobs, m_options.json,
                    [&](std::size_t file, InteractionInterface& interaction) { work(file, interaction); });
        reportAll();
        return m_batch.exitCode();
    }

private:
    FileRunRequest requestOf(std::size_t file) const {
        const BatchFile member{m_batch.files()[file], file + 1, m_batch.files().size()};
        FileRunRequest request = cli::requestOf(m_options, member.fill(m_assignments));
        request.table = m_joins ? "" : member.fill(m_options.csv);
        request.threads = m_options.batch.threadsOfOne(m_options.threads);
        request.memory = m_options.batch.memoryOfOne(m_options.memory);
        return request;
    }

    static void refuseStandardOutput(const FileRun& member) {
        for (const auto& output : member.outputs()) {
            if (isStandardStream(output.path)) {
                throw Failure(WRONG_USAGE, output.property + " can't be \"-\" for several files");
            }
        }
    }

    void work(std::size_t file, InteractionInterface& interaction) {
        const FileRunRequest request = requestOf(file);
        FileRun run(request);
        run.run(interaction);
        run.writeImages([](const std::string&) {});
        const auto results = run.results();
        const auto table = tableOf(results);
        if (!request.table.empty()) {
            saveTable(request.table, *table);
        }
        std::string lines;
        for (const Result& result : results) {
            lines += result.table == nullptr ? result.toText(m_batch.files()[file].string() + "  ") : "";
        }
        if (!m_options.json) {
            for (const std::string& note : run.notes()) {
                m_batch.tell(m_batch.files()[file].string() + "  " + note);
            }
        }
        const std::lock_guard lock(m_mutex);
        if (table != nullptr && request.table.empty()) {
            m_table.add(file, m_batch.files()[file].string(), *table);
        }
        if (m_options.json) {
            m_objects[file] = run.toJson();
        } else if (!lines.empty()) {
            m_options.csv == "-" ? m_batch.tell(lines) : m_batch.print(lines);
        }
    }

    void reportAll() {
        const vessel::DataFrame table = m_table.toDataFrame();
        if (m_joins && !m_table.empty()) {
            saveTable(m_options.csv, table);
            tellOfTable(m_options.csv, table);
        } else if (!m_table.empty() && !m_options.json) {
            writeData(description::toTextTable(table).toText());
        }
        if (m_options.json) {
            nlohmann::json list = nlohmann::json::array();
            for (std::size_t i = 0; i < m_batch.files().size(); ++i) {
                const auto& failure = m_batch.failures()[i];
                list.push_back(failure                  ? toJson(*failure)
                               : m_objects[i].is_null() ? nlohmann::json::object()
                                                        : m_objects[i]);
                list.back()["file"] = m_batch.files()[i].string();
            }
            writeJson(list);
        } else {
            writeMessage(m_batch.summary());
        }
    }

    const RunOptions& m_options;
    const std::vector<Assignment>& m_assignments;
    Batch m_batch;
    bool m_joins;  ///< the tables of all files go into one
    std::mutex m_mutex;
    JoinedTable m_table;
    std::vector<nlohmann::json> m_objects;
};

int runRun(RunOptions options) {
    std::vector<Assignment> assignments = parseAssignments(options.assignments);
    takePatternAsFiles(options, assignments);
    if (!options.batch.files.empty()) {
        return BatchRun(options, assignments).run();
    }
    options.batch.refuseWithoutFiles(options.assignments, options.csv);
    return runOne(options);
}

}  // namespace

void addRunCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<RunOptions>();
    CLI::App* command = program.add_subcommand("run", "Run an algorithm on files");
    command->add_option("CLASS", options->className, "Name of the algorithm, as 'rix list' shows it")->required();
    command->add_option(
        "name=value", options->assignments,
        "Properties, as 'rix describe CLASS' shows them; an image property takes the path of a file. "
        "Brackets behind an input select a part, as in a.tif[c=0,z=10:20]; docs/selections.md tells what. "
        "Outputs are written when the run has succeeded, in the format of their extension. \"-\" is "
        "standard input or, as TIFF, standard output; \"-.png\" makes that PNG");
    command
        ->add_option("--each", options->each,
                     "Run once for each frame of the sequence, each channel or both, instead of once on all")
        ->type_name("frame|channel|frame,channel");
    command->add_option("--threads", options->threads, "Use at most N threads")
        ->check(CLI::Range(1, 1 << 20).description(""))
        ->type_name("N");
    addMemoryOption(*command, options->memory);
    command->add_option("--max-level", options->maxLevel, "Use no implementation above this level")
        ->type_name("scalar|sse|avx");
    command
        ->add_option("--csv", options->csv,
                     "Write the table that the run makes to this file instead of printing it; \"-\" for standard "
                     "output. With --files one table of all, with a column for the file")
        ->type_name("PATH");
    options->batch.addTo(*command);
    command->add_flag("--no-progress", options->noProgress, "Draw no progress bar");
    command->add_flag("--json", options->json, "Print results, or what goes wrong, as a JSON object");
    addReadingOptions(*command);
    addWritingOptions(*command);
    command->footer(
        "Many files:\n"
        "  rix run Labeling2d inputObjectImage={file} outputLabelImage=out/{stem}-labels.tif --files binary/*.tif\n"
        "\n"
        "Example:\n"
        "  rix run AutoThresholdingBright inputGrayImage=examples/images/coins.png thresholdCriterion=FACTORISATION"
        " outputBinaryImage=coins-binary.tif");
    command->callback([&chosen, options] { chosen = [options] { return runRun(*options); }; });
}

}  // namespace rix::cli
