#include "sim/HostOperator.hpp"

#include "runtime/process/Console.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/system/ChildProcess.hpp"
#include "sim/system/ConsoleInput.hpp"
#include "sim/Waiting.hpp"

namespace hearthix::sim {

namespace {

constexpr Integer kPatienceMilliseconds = 60'000;

} // namespace

std::optional<String> HostOperator::askScript(const std::vector<String>& request) const {
    std::vector<String> words{script_};
    words.insert(words.end(), request.begin(), request.end());
    std::optional<String> answer;
    std::optional<int> status;
    const auto script = Ref<ChildProcess>::make();
    script->printed = [&answer](const String& line) { answer = answer.value_or(line); };
    script->ended = [&status](int itsStatus) { status = itsStatus; };
    if (!script->Start("/bin/sh", words) ||
        !waitUntil([&status] { return status.has_value(); }, kPatienceMilliseconds) || *status != 0)
        return std::nullopt;
    return answer.value_or(String());
}

std::optional<String> HostOperator::ask(const std::vector<String>& request, const String& sentence) const {
    if (!script_.empty())
        return askScript(request);
    if (!ConsoleInput::isTerminal())
        return std::nullopt;
    PrintError(sentence);
    PrintError("  Then press Enter, or type - and Enter if that is impossible.");
    String typed;
    const auto input = Ref<ConsoleInput>::make();
    input->received = [&typed](std::string_view bytes) { typed.append(bytes); };
    input->Open();
    waitUntil([&typed] { return typed.view().ends_with('\n'); }, kPatienceMilliseconds);
    const bool isDone = typed.view().ends_with('\n') && Trim(typed).view() != "-";
    return isDone ? std::optional(Trim(typed)) : std::nullopt;
}

} // namespace hearthix::sim
