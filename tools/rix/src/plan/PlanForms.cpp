// A plan as it is written.

#include "PlanForms.h"

#include <rix/Library.h>

namespace rix::cli {
namespace {

using nlohmann::json;

json formOf(const Recipe::Step& step) {
    json form = {{"kind", step.kind}, {"to", step.target.string()}};
    json with = json::array();
    for (const Assignment& assignment : step.assignments) {
        with.push_back({assignment.name, assignment.text});
    }
    json views = json::array();
    for (const Recipe::View& view : step.views) {
        views.push_back({{"image", view.image}, {"over", view.over}, {"numbers", view.numbers}});
    }
    form["run"] = step.className;
    form["with"] = std::move(with);
    form["each"] = {{"frame", step.each.frame}, {"channel", step.each.channel}};
    form["views"] = std::move(views);
    return form;
}

Recipe::Step stepFrom(const json& form) {
    Recipe::Step step;
    step.kind = form.at("kind").get<Recipe::Step::Kind>();
    step.target = form.at("to").get<std::string>();
    step.className = form.at("run").get<std::string>();
    for (const json& assignment : form.at("with")) {
        step.assignments.push_back({assignment.at(0).get<std::string>(), assignment.at(1).get<std::string>()});
    }
    step.each.frame = form.at("each").at("frame").get<bool>();
    step.each.channel = form.at("each").at("channel").get<bool>();
    for (const json& view : form.at("views")) {
        step.views.push_back(
            {view.at("image").get<std::string>(), view.at("over").get<std::string>(), view.at("numbers").get<bool>()});
    }
    return step;
}

json formOf(const Plan::Round& round) {
    return {{"blockSteps", round.inBlocks},
            {"wholeSteps", round.whole},
            {"blocks", round.grid.blocks()},
            {"extents", round.grid.image},
            {"chunk", round.grid.chunk},
            {"parts", round.grid.parts},
            {"grownBy", {{"lower", round.grownBy.lower}, {"upper", round.grownBy.upper}}},
            {"reads", round.read},
            {"writes", round.kept},
            {"bytesRead", round.bytesRead},
            {"blockMemory", round.blockMemory}};
}

Plan::Round roundFrom(const json& form) {
    Plan::Round round;
    form.at("blockSteps").get_to(round.inBlocks);
    form.at("wholeSteps").get_to(round.whole);
    form.at("extents").get_to(round.grid.image);
    form.at("chunk").get_to(round.grid.chunk);
    form.at("parts").get_to(round.grid.parts);
    form.at("grownBy").at("lower").get_to(round.grownBy.lower);
    form.at("grownBy").at("upper").get_to(round.grownBy.upper);
    form.at("reads").get_to(round.read);
    form.at("writes").get_to(round.kept);
    form.at("bytesRead").get_to(round.bytesRead);
    form.at("blockMemory").get_to(round.blockMemory);
    return round;
}

template <class T>
json formsOf(const std::vector<T>& objects) {
    json forms = json::array();
    for (const T& object : objects) {
        forms.push_back(formOf(object));
    }
    return forms;
}

}  // namespace

json toJson(const Plan& plan) {
    json inputs = json::object();
    for (const auto& [object, input] : plan.inputs) {
        inputs[object] = {{"name", input.name}, {"identity", input.identity}};
    }
    json outputs = json::array();
    for (const Plan::Output& output : plan.outputs) {
        outputs.push_back({{"kind", output.kind},
                           {"object", output.object},
                           {"picture", output.picture},
                           {"to", output.target.string()}});
    }
    return {{"format", planFormat},
            {"formatVersion", planFormatVersion},
            {"version", rix::version()},
            {"folder", plan.folder.string()},
            {"recipe", plan.recipe},
            {"record", plan.record.string()},
            {"description", plan.description},
            {"parameters", plan.parameters},
            {"steps", formsOf(plan.steps)},
            {"objects", formsOf(plan.renamed)},
            {"inputs", std::move(inputs)},
            {"rounds", formsOf(plan.rounds)},
            {"outputs", std::move(outputs)},
            {"wantedBlocks", plan.wantedBlocks}};
}

Plan planFromJson(const json& content) {
    Plan plan;
    plan.folder = content.at("folder").get<std::string>();
    plan.recipe = content.at("recipe");
    plan.record = content.at("record").get<std::string>();
    content.at("description").get_to(plan.description);
    content.at("parameters").get_to(plan.parameters);
    for (const json& step : content.at("steps")) {
        plan.steps.push_back(stepFrom(step));
    }
    for (const json& step : content.at("objects")) {
        plan.renamed.push_back(stepFrom(step));
    }
    for (const auto& [object, input] : content.at("inputs").items()) {
        plan.inputs[object] = {input.at("name").get<std::string>(), input.at("identity")};
    }
    for (const json& round : content.at("rounds")) {
        plan.rounds.push_back(roundFrom(round));
    }
    for (const json& output : content.at("outputs")) {
        plan.outputs.push_back({output.at("kind").get<Plan::Output::Kind>(), output.at("object").get<std::string>(),
                                output.at("picture").get<std::size_t>(), output.at("to").get<std::string>()});
    }
    content.at("wantedBlocks").get_to(plan.wantedBlocks);
    return plan;
}

}  // namespace rix::cli
