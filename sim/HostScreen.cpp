#include "sim/HostScreen.hpp"

#include "runtime/text/Numbers.hpp"
#include "sim/Text.hpp"

#include <algorithm>
#include <cstdlib>

namespace hearthix::sim {

namespace {

using terminal::Colour;

constexpr Integer kFrameMilliseconds = 100;
constexpr Integer kAgeMilliseconds = 1000;
constexpr std::size_t kLogKept = 1000;
// Title, heading, rule and prompt.
constexpr int kFixedRows = 4;
// The minimum number of rows of the table and of the log when the other one could fill the screen.
constexpr int kLeastRows = 6;
constexpr int kTimeWidth = 8;
constexpr int kKindWidth = 8;
constexpr int kLogIndent = kTimeWidth + kKindWidth + 2;
constexpr int kLeastText = 30;
constexpr int kAll = 1'000'000;

constexpr const char* kHint = "a command, or: arrows select  / filter  < > sort  ! reverse  Tab log  ? keys";
constexpr const char* kUnitHint =
    "Space switches the unit  Enter sets it  Ctrl-R asks its node  Esc deselects";
const std::vector<std::string> kKeys{"Up, Down         select a unit; Esc deselects it",
                                     "Space, Enter     switch the selected unit; set it",
                                     "Ctrl-R           ask the node of the selected unit for its value",
                                     "PgUp, PgDn       scroll the table or the log; Home, End: to its ends",
                                     "Tab              go to the log, the command line, the table",
                                     "< >              sort by the next column; ! reverses",
                                     "/text            only the units that show this; Esc: all",
                                     "?                this list of keys; any key closes it",
                                     "",
                                     "any other text   a command for the host; help lists them",
                                     "Up, Down         there: earlier commands; Ctrl-P, Ctrl-N everywhere",
                                     "Ctrl-C, Ctrl-D   end everything; Ctrl-L draws the screen again",
                                     "",
                                     "~12m             stale: nothing new for ten minutes or more",
                                     "!15%             a battery at 20 % or less; -: none known",
                                     "RECENT           the last values, from the lowest to the highest"};

constexpr char control(char letter) {
    return static_cast<char>(letter - '@');
}

int inColumns(std::string_view ascii) {
    return static_cast<int>(ascii.size());
}

// Removes whole fields at the end until the rest fits, because a number that is cut off would be wrong.
std::string_view fitting(std::string_view fields, int columns) {
    while (inColumns(fields) > columns && fields.rfind("  ") != std::string_view::npos)
        fields = fields.substr(0, fields.rfind("  "));
    return fields;
}

} // namespace

HostScreen::HostScreen(std::function<String()> status, std::function<void(const String& line)> entered)
    : status_(std::move(status)), entered_(std::move(entered)) {
    redraw_.action = [this] { draw(); };
    drawSoon();
}

void HostScreen::watch(const HostModel& model) {
    model_ = &model;
}

// If the user has scrolled back, the same lines stay visible.
void HostScreen::note(const String& kind, const String& text) {
    LogLine line{std::string(clockText(false).view()), std::string(kind.view()), {}};
    const std::string whole = printable(text);
    std::string_view rest = whole;
    do {
        line.text = rest.substr(0, lineOf(rest, std::max(COLS - kLogIndent, kLeastText)));
        rest.remove_prefix(line.text.size());
        log_.push_back(std::exchange(line, {}));
        if (log_.size() > kLogKept)
            log_.pop_front();
        if (logBack_ > 0)
            scrollLog(-1);
    } while (!rest.empty());
    drawSoon();
}

void HostScreen::unitChanged(const HostUnit& unit, HostModel::Change change) {
    if (change == HostModel::Change::created)
        note("unit", concat(unit.address, " created"));
    drawSoon();
}

void HostScreen::showUnits(const HostModel& model) {
    const int count = static_cast<int>(table_.units(model).size());
    scrollTable(firstUnit_ + tableRows_ < count ? tableRows_ : -kAll);
    drawSoon();
}

void HostScreen::showHelp(const std::vector<std::string>& lines) {
    page_ = lines;
    drawSoon();
}

void HostScreen::sizeChanged() {
    screen_.resize();
    draw();
}

void HostScreen::readKeys() {
    while (const auto key = screen_.key())
        press(*key);
    draw();
}

void HostScreen::press(const terminal::Key& key) {
    if (!std::exchange(page_, {}).empty())
        return;
    if (key.is('\n') || key.is('\r') || key.is(KEY_ENTER))
        pressEnter();
    else if (key.is(control('[')))
        pressEscape();
    else if (key.is('\t'))
        pane_ = pane_ == Pane::table ? Pane::log : pane_ == Pane::log ? Pane::line : Pane::table;
    else if (key.is(control('L')))
        clearok(curscr, true);
    else if (pane_ == Pane::filter)
        filter_.take(key) ? changeFilter() : scroll(key);
    else if (!pressUnit(key) && !pressCommand(key) && !pressShortcut(key))
        scroll(key);
}

// Handles the keys of the command line. Arrow keys belong to it only while it has the focus.
bool HostScreen::pressCommand(const terminal::Key& key) {
    const bool isHere = pane_ == Pane::line;
    const bool isShortcut =
        !key.isNamed && key.code < 0x80 &&
        std::string_view("/?<>!").find(static_cast<char>(key.code)) != std::string_view::npos;
    if (key.is(control('P')) || (isHere && key.is(KEY_UP)))
        typed_.recall(-1);
    else if (key.is(control('N')) || (isHere && key.is(KEY_DOWN)))
        typed_.recall(1);
    else if (key.is(control('D')) && typed_.empty())
        entered_("quit");
    else if ((typed_.empty() && isShortcut) || (key.isNamed && !isHere) || !typed_.take(key))
        return false;
    pane_ = Pane::line;
    return true;
}

bool HostScreen::pressShortcut(const terminal::Key& key) {
    if (key.is('/'))
        pane_ = Pane::filter;
    else if (key.is('?'))
        page_ = kKeys;
    else if (key.is('>') || key.is('<'))
        table_.sortBy(key.is('>') ? 1 : -1);
    else if (key.is('!'))
        table_.reverse();
    else
        return false;
    return true;
}

void HostScreen::pressEnter() {
    if (typed_.empty() && pane_ == Pane::table && !selected_.empty())
        return beginSetting();
    if (pane_ != Pane::filter && !typed_.empty())
        entered_(String(typed_.enter(), TextEncoding::utf8));
    if (pane_ == Pane::filter || !selected_.empty())
        pane_ = Pane::table;
}

void HostScreen::pressEscape() {
    if (typed_.empty()) {
        filter_.clear();
        changeFilter();
        selected_ = String();
    }
    typed_.clear();
    pane_ = Pane::table;
}

void HostScreen::changeFilter() {
    table_.filter = String(filter_.text(), TextEncoding::utf8);
    firstUnit_ = 0;
}

void HostScreen::scroll(const terminal::Key& key) {
    const bool isLog = pane_ == Pane::log;
    const int page = std::max(isLog ? logRows_ : tableRows_, 1);
    const struct {
        int key, rows;
    } kMoves[] = {{KEY_UP, -1},      {KEY_DOWN, 1},     {KEY_PPAGE, -page},
                  {KEY_NPAGE, page}, {KEY_HOME, -kAll}, {KEY_END, kAll}};
    for (const auto& move : kMoves)
        if (key.is(move.key))
            isLog                      ? scrollLog(move.rows)
            : std::abs(move.rows) == 1 ? select(move.rows)
                                       : scrollTable(move.rows);
}

// Selects the unit above or below, or the first visible unit if the selected one is not visible.
void HostScreen::select(int step) {
    const auto units = model_ != nullptr ? table_.units(*model_) : std::vector<const HostUnit*>();
    const int last = static_cast<int>(units.size()) - 1;
    const auto found = std::find_if(units.begin(), units.end(),
                                    [this](const HostUnit* unit) { return unit->address == selected_; });
    const int old = found == units.end() ? -1 : static_cast<int>(found - units.begin());
    const bool isInView = old >= firstUnit_ && old < firstUnit_ + tableRows_;
    const int row = std::clamp(isInView ? old + step : firstUnit_, 0, std::max(last, 0));
    if (last < 0)
        return;
    selected_ = units[static_cast<std::size_t>(row)]->address;
    firstUnit_ = std::clamp(firstUnit_, row - tableRows_ + 1, row);
}

// The keys for the selected unit.
bool HostScreen::pressUnit(const terminal::Key& key) {
    if (pane_ != Pane::table || selected_.empty() || !typed_.empty())
        return false;
    if (key.is(' '))
        switchUnit();
    else if (key.is(control('R')))
        entered_(concat("query ", selected_));
    else
        return false;
    return true;
}

// A node that reports 0 is shown as ON, so the command that changes it is the value shown.
void HostScreen::switchUnit() {
    const Ref<HostUnit> unit = model_->find(selected_);
    if (unit.isNil())
        return;
    if (!unit->dimmable)
        entered_(concat(unit->value == "ON" ? "on " : "off ", selected_));
    else
        entered_(concat("set ", selected_, numberIn(unit->value).value_or(0) > 0 ? " 0" : " 100"));
}

void HostScreen::beginSetting() {
    typed_.begin(concat("set ", selected_, " "));
    pane_ = Pane::line;
}

// The next frame limits it to the existing lines.
void HostScreen::scrollTable(int rows) {
    firstUnit_ = std::clamp(firstUnit_ + rows, 0, kAll);
}

void HostScreen::scrollLog(int rows) {
    const int most = std::max(static_cast<int>(log_.size()) - logRows_, 0);
    logBack_ = std::clamp(logBack_ - rows, 0, most);
}

// Replaces the redraw for the ages, which is due later.
void HostScreen::drawSoon() {
    if (!redraw_.isSet() || redraw_.Period() > kFrameMilliseconds)
        redraw_.setIn(kFrameMilliseconds);
}

void HostScreen::draw() {
    const auto units = model_ != nullptr ? table_.units(*model_) : std::vector<const HostUnit*>();
    const int count = static_cast<int>(units.size());
    const int free = std::max(LINES - kFixedRows, 1);
    const int lesser = std::min(std::max(kLeastRows, free / 3), free / 2);
    tableRows_ = std::clamp(count, 1, std::max(pane_ == Pane::log ? lesser : free - lesser, 1));
    logRows_ = free - tableRows_;
    firstUnit_ = std::clamp(firstUnit_, 0, std::max(count - tableRows_, 0));

    ::erase();
    const String status = status_();
    put(0, 0, COLS, fitting(status, COLS), A_REVERSE);
    if (!page_.empty()) {
        drawPage();
    } else {
        drawHeading();
        drawUnits(units);
        drawRule(count);
        drawLog();
    }
    drawLine();
    ::refresh();
    redraw_.setIn(kAgeMilliseconds);
}

void HostScreen::drawPage() const {
    for (int i = 0; i < static_cast<int>(page_.size()) && i < LINES - 2; ++i)
        put(i + 1, 1, COLS, page_[static_cast<std::size_t>(i)]);
}

void HostScreen::drawHeading() const {
    const attr_t look = A_BOLD | (pane_ == Pane::table ? A_UNDERLINE : A_NORMAL);
    put(1, 0, COLS, "", look);
    int x = 0;
    const auto columns = HostTable::headings(COLS);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const auto& [title, width, isRight] = columns[i];
        std::string text = title;
        if (i == static_cast<std::size_t>(table_.sortedBy()))
            text += table_.isReversed() ? "v" : "^";
        put(1, x + (isRight ? std::max(width - inColumns(text), 0) : 0), width, text, look);
        x += width > 0 ? width + 1 : 0;
    }
}

void HostScreen::drawUnits(const std::vector<const HostUnit*>& units) {
    if (units.empty())
        put(2, 0, COLS, table_.filter.empty() ? "no units yet" : "no unit shows this; Esc clears the filter");
    const int shown = std::min(tableRows_, static_cast<int>(units.size()) - firstUnit_);
    for (int row = 0; row < shown; ++row)
        drawUnit(2 + row, *units.at(static_cast<std::size_t>(firstUnit_) + static_cast<std::size_t>(row)));
}

void HostScreen::drawUnit(int row, const HostUnit& unit) const {
    const bool stale = isStale(unit);
    const bool low = isBatteryLow(unit);
    const auto columns = HostTable::headings(COLS);
    const Integer seconds = (clocks::monotonic() - unit.changedAt) / 1'000'000'000;
    const String age = unit.changedAt == 0 ? String("-") : ageText(seconds);
    const String battery = unit.hasBattery ? unit.battery + "%" : String("-");
    const attr_t staleLook = stale ? screen_.look(Colour::yellow) : A_NORMAL;
    const struct {
        std::string text;
        attr_t look;
    } cells[] = {
        {std::string(unit.address.view()), A_NORMAL},
        {std::string(model_->nameOf(unit).view()), A_NORMAL},
        {std::string(unit.value.view()), stale ? staleLook : A_BOLD},
        {sparkLine(unit, static_cast<std::size_t>(columns[HostTable::recent].width)),
         screen_.look(Colour::cyan)},
        {(low ? "!" : "") + std::string(battery.view()), low ? screen_.look(Colour::red) | A_BOLD : A_NORMAL},
        {(stale ? "~" : "") + std::string(age.view()), staleLook}};
    const attr_t mark = unit.address == selected_ ? A_REVERSE : A_NORMAL;
    put(row, 0, COLS, "", mark);
    int x = 0;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const int width = columns[i].width;
        const int indent = columns[i].isRight ? std::max(width - inColumns(cells[i].text), 0) : 0;
        put(row, x + indent, width - indent, cells[i].text, cells[i].look | mark);
        x += width > 0 ? width + 1 : 0;
    }
}

void HostScreen::drawRule(int units) const {
    const Integer all = model_ != nullptr ? static_cast<Integer>(model_->units().size()) : 0;
    String text = "log";
    if (logBack_ > 0)
        text = concat(text, " ", Str(logBack_), " back");
    if (!table_.filter.empty())
        text = concat("/", table_.filter, " ", Str(units), " of ", Str(all), "  ", text);
    if (tableRows_ < units)
        text = concat(Str(firstUnit_ + 1), "-", Str(firstUnit_ + tableRows_), " of ", Str(units), "  ", text);
    std::string line = "\u2500\u2500 " + std::string(fitting(text, COLS - 4)) + " ";
    for (int i = 0; i < COLS; ++i)
        line += "\u2500";
    put(2 + tableRows_, 0, COLS, line,
        screen_.look(Colour::green) | (pane_ == Pane::log ? A_BOLD : A_NORMAL));
}

void HostScreen::drawLog() {
    scrollLog(0);
    const int end = static_cast<int>(log_.size()) - logBack_;
    auto line = log_.begin() + std::max(end - logRows_, 0);
    for (int row = 3 + tableRows_; row < LINES - 1 && line != log_.begin() + end; ++row, ++line) {
        put(row, 0, kTimeWidth, line->time, A_DIM);
        put(row, kTimeWidth + 1, kKindWidth, line->kind, screen_.look(Colour::green));
        put(row, kLogIndent, COLS, line->text);
    }
}

void HostScreen::drawLine() const {
    const bool isFilter = pane_ == Pane::filter;
    const bool hasKeys = isFilter || pane_ == Pane::line;
    const auto [text, cursor] = (isFilter ? filter_ : typed_).visible(COLS - 3);
    put(LINES - 1, 0, 2, isFilter ? "/" : ">", A_BOLD);
    if (text.empty() && !hasKeys)
        put(LINES - 1, 2, COLS, pane_ == Pane::table && !selected_.empty() ? kUnitHint : kHint, A_DIM);
    else
        put(LINES - 1, 2, COLS, text);
    curs_set(hasKeys ? 1 : 0);
    ::move(LINES - 1, std::min(2 + cursor, COLS - 1));
}

void HostScreen::put(int row, int column, int width, std::string_view text, attr_t look) const {
    screen_.put(row, column, width, printable(text), look);
}

} // namespace hearthix::sim
