#include "sim/Session.hpp"

#include "runtime/process/ConsoleApplication.hpp"
#include "shell/log/Log.hpp"
#include "sim/JsonView.hpp"
#include "sim/Output.hpp"
#include "sim/system/Terminal.hpp"

#include <csignal>

namespace hearthix::sim {

namespace {

constexpr Integer kTurnMilliseconds = 50;

} // namespace

Session::Session(Shows shows) : signals_(Ref<SignalWatch>::make()), input_(Ref<ConsoleInput>::make()) {
    signals_->caught = [this](int number) { signal(number); };
    signals_->Open({SIGINT, SIGTERM, SIGHUP, SIGWINCH});
    const auto enter = [this](const String& line) {
        if (entered)
            entered(line);
    };
    if (shows == Shows::screen && terminal::canDraw()) {
        auto screen = std::make_unique<HostScreen>([this] { return status ? status() : String(); }, enter);
        screen_ = screen.get();
        input_->ready = [this] { screen_->readKeys(); };
        input_->ended = [this] { ended_ = true; };
        view_ = std::move(screen);
    } else {
        std::unique_ptr<PlainView> plain;
        if (shows == Shows::json)
            plain = std::make_unique<JsonView>(enter);
        else
            plain = std::make_unique<PlainView>(enter);
        input_->received = [view = plain.get()](std::string_view bytes) { view->typed(bytes); };
        input_->ended = [view = plain.get()] { view->typed("\n"); }; // the last line may have no line end
        view_ = std::move(plain);
    }
    input_->Open();
    Log::setSink([this](const String& line, Integer) { view_->note("note", line); });
}

Session::~Session() {
    Log::toStandardError({});
}

void Session::watch(const HostModel& model) {
    if (screen_ != nullptr)
        screen_->watch(model);
}

void Session::signal(int number) {
    if (number != SIGWINCH)
        end();
    else if (screen_ != nullptr)
        screen_->sizeChanged();
}

void Session::run() {
    while (!ended_ && !terminal::isOutputGone() && outputLoss() == 0)
        ConsoleApplication::DoEvents(kTurnMilliseconds);
}

} // namespace hearthix::sim
