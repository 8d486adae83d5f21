#include "RecipeBatch.h"

#include <map>
#include <mutex>
#include <utility>

#include <nlohmann/json.hpp>

#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Output.h"
#include "../TableFiles.h"
#include "../batch/Batch.h"
#include "../batch/FileList.h"
#include "../batch/JoinedTable.h"
#include "DryRun.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;

/// The paths that two recipes write tables to at the same places: those that do not depend on the file.
std::set<fs::path> commonPaths(const Recipe& a, const Recipe& b) {
    std::set<fs::path> paths;
    const auto compare = [&](const fs::path& one, const fs::path& other) {
        if (one == other && (one == "-" || one.extension() == ".csv" || one.extension() == ".json")) {
            paths.insert(one);
        }
    };
    for (std::size_t i = 0; i < a.steps.size(); ++i) {
        compare(a.steps[i].target, b.steps[i].target);
        for (std::size_t j = 0; j < a.steps[i].assignments.size(); ++j) {
            compare(a.steps[i].assignments[j].text, b.steps[i].assignments[j].text);
        }
    }
    return paths;
}

class RecipeBatch {
public:
    RecipeBatch(const RecipeOptions& options, const BatchOptions& batch)
        : m_options(options),
          m_batchOptions(batch),
          m_batch(expandFiles(batch.files), options.progress),
          m_recipes(m_batch.files().size()),
          m_records(m_batch.files().size()),
          m_oneRecord(!hasPlaceholder(options.record.string())) {}

    int run() {
        prepare();
        m_batch.run(m_batchOptions.jobs, m_options.json,
                    [&](std::size_t file, InteractionInterface& interaction) { work(file, interaction); });
        finish();
        return m_batch.exitCode();
    }

private:
    BatchFile member(std::size_t file) const { return {m_batch.files()[file], file + 1, m_batch.files().size()}; }

    Recipe read(const BatchFile& file) const { return readRecipe(m_options.recipe, file.fill(m_options.parameters)); }

    /// Every recipe is gone through before one is run. A file that is unfit is out, the others go on.
    void prepare() {
        m_joined = commonPaths(read({"a/b.c", 1, 2}), read({"d/e.f", 2, 2}));
        Targets targets;
        targets.addInput(m_options.recipe, Targets::Kind::Other);
        for (const fs::path& path : m_joined) {
            targets.addOutput("the table of all files", path, Targets::Kind::Other);
        }
        if (m_oneRecord) {
            checkCanWriteFile(m_options.record);
            targets.addOutput("the record", m_options.record, Targets::Kind::Other);
        }
        for (std::size_t file = 0; file < m_recipes.size(); ++file) {
            m_recipes[file] = read(member(file));
            targets.beginUnit();
            try {
                Targets own = targets;
                dryRun(m_recipes[file], own, m_joined);
                targets = std::move(own);
            } catch (...) {
                Failure failure = failureOfCurrentException();
                if (failure.exitCode() == WRONG_USAGE) {
                    throw failure;  // the recipe's fault, not that of the file
                }
                m_batch.fail(file, std::move(failure));
                continue;
            }
            if (!m_oneRecord) {
                checkCanWriteFile(recordOf(file));
                targets.addOutput("the record", recordOf(file), Targets::Kind::Other);
            }
        }
        targets.refuseCollisions();
        m_standardOutput = targets.useStandardOutput();
        if (m_options.json && m_standardOutput) {
            throw Failure(WRONG_USAGE, "--json and an output \"-\" would both go to standard output");
        }
    }

    fs::path recordOf(std::size_t file) const { return member(file).fill(m_options.record.string()); }

    void work(std::size_t file, InteractionInterface& interaction) {
        std::map<fs::path, vessel::DataFrame> tables;
        const auto join = [&](const fs::path& path, vessel::DataFrame table) { tables[path] = std::move(table); };
        const auto note = [&](const std::string& text) {
            if (!m_options.json) {
                m_batch.tell(m_batch.files()[file].string() + "  " + text);
            }
        };
        const nlohmann::json record = carryOut(m_options.recipe, m_recipes[file],
                                               {.interaction = interaction,
                                                .threads = m_batchOptions.threadsOfOne({}),
                                                .memory = m_batchOptions.memoryOfOne(m_options.memory),
                                                .say = [](const std::string&) {},
                                                .joined = m_joined,
                                                .join = join,
                                                .note = note});
        if (!m_oneRecord) {
            saveRecord(recordOf(file), record);
        }
        const std::lock_guard lock(m_mutex);
        m_records[file] = record;
        for (auto& [path, table] : tables) {
            m_tables[path].add(file, m_batch.files()[file].string(), std::move(table));
        }
    }

    void say(const std::string& text) const {
        if (!m_options.json) {
            m_standardOutput ? writeMessage(text) : writeData(text);
        }
    }

    void finish() {
        for (const auto& [path, table] : m_tables) {
            saveTable(path, table.toDataFrame());
            say("wrote   " + path.string() + '\n');
        }
        nlohmann::json records = nlohmann::json::array();
        for (std::size_t file = 0; file < m_records.size(); ++file) {
            const auto& failure = m_batch.failures()[file];
            records.push_back(failure                     ? toJson(*failure)
                              : m_records[file].is_null() ? nlohmann::json::object()
                                                          : m_records[file]);
            records.back()["file"] = m_batch.files()[file].string();
        }
        if (m_oneRecord) {
            saveRecord(m_options.record, records);
            say("record  " + m_options.record.string() + '\n');
        }
        if (m_options.json) {
            writeJson(records);
        } else {
            writeMessage(m_batch.summary());
        }
    }

    const RecipeOptions& m_options;
    const BatchOptions& m_batchOptions;
    Batch m_batch;
    std::vector<Recipe> m_recipes;
    std::vector<nlohmann::json> m_records;
    bool m_oneRecord;  ///< of all files
    bool m_standardOutput = false;
    std::set<fs::path> m_joined;
    std::mutex m_mutex;
    std::map<fs::path, JoinedTable> m_tables;
};

}  // namespace

int runRecipes(const RecipeOptions& options, const BatchOptions& batch) {
    return RecipeBatch(options, batch).run();
}

}  // namespace rix::cli
