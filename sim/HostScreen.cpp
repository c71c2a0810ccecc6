#include "sim/HostScreen.hpp"

#include "runtime/text/Numbers.hpp"
#include "sim/Text.hpp"

#include <algorithm>

namespace hearthix::sim {

namespace {

constexpr Integer kFrameMilliseconds = 100;
constexpr Integer kAgeMilliseconds = 1000;
constexpr std::size_t kLogKept = 200;
constexpr std::size_t kLongestTyped = 500;
// Title, heading, rule and prompt.
constexpr std::size_t kFixedRows = 4;
constexpr std::size_t kLeastLogRows = 6;
// On the smallest screen a unit can still be seen, with the line about the other ones.
constexpr std::size_t kLeastUnitRows = 2;
constexpr std::size_t kLeastRows = kFixedRows + kLeastUnitRows;

// Without wrapping, a terminal that takes a character for wider than we do, or has just become narrower,
// cuts a row and doesn't push the others down.
constexpr const char* kEnterScreen = "\x1b[?1049h\x1b[?7l\x1b[2J";
constexpr const char* kLeaveScreen = "\x1b[?25h\x1b[?7h\x1b[0m\x1b[?1049l";
constexpr const char* kHome = "\x1b[?25l\x1b[H";
constexpr const char* kReverse = "\x1b[7m";
constexpr const char* kBold = "\x1b[1m";
constexpr const char* kNormal = "\x1b[0m";
// Rows are filled to the full width: clearing the rest of one would take its last character on some
// terminals.
constexpr const char* kNextLine = "\r\n";
constexpr const char* kClearLine = "\x1b[K";

constexpr std::size_t kLeastName = 6;
constexpr std::size_t kMostName = 24;
constexpr std::size_t kLeastValue = 8;

struct Columns {
    std::size_t address = 16;
    std::size_t name = 0;
    std::size_t value = 0;
    std::size_t battery = 6;
    std::size_t age = 5;

    explicit Columns(std::size_t width) {
        const std::size_t gaps = 4;
        const std::size_t taken = address + battery + age + gaps;
        const std::size_t room = std::max<std::size_t>(width, taken + kLeastName + kLeastValue) - taken;
        name = std::clamp(room / 2, kLeastName, kMostName);
        value = room - name;
    }
};

std::string row(const Columns& columns, std::string_view address, std::string_view name,
                std::string_view value, std::string_view battery, std::string_view age) {
    return padded(address, columns.address) + " " + padded(name, columns.name) + " " +
           padded(value, columns.value) + " " + paddedLeft(battery, columns.battery) + " " +
           paddedLeft(age, columns.age);
}

std::string unitRow(const Columns& columns, const HostUnit& unit) {
    const Integer seconds = (clocks::monotonic() - unit.changedAt) / 1'000'000'000;
    const String age = unit.changedAt == 0 ? String("-") : ageText(seconds);
    const String battery = unit.battery.empty() ? String("-") : unit.battery + "%";
    return row(columns, unit.address, unit.name, unit.value, battery, age);
}

// A number that is cut off would be a wrong one, so the fields that don't fit go as a whole.
std::string title(std::string_view fields, std::size_t columns) {
    while (fields.size() > columns && fields.rfind("  ") != std::string_view::npos)
        fields = fields.substr(0, fields.rfind("  "));
    return padded(fields, columns);
}

std::string rule(std::size_t columns) {
    std::string line = "--- log --- help lists the commands, quit or Ctrl-C ends ";
    line.resize(columns, '-');
    return line;
}

} // namespace

HostScreen::HostScreen(std::function<String()> status, std::function<void(const String& line)> entered)
    : status_(std::move(status)), entered_(std::move(entered)) {
    redraw_.action = [this] { draw(); };
    terminal::write(kEnterScreen);
    drawSoon();
}

HostScreen::~HostScreen() {
    terminal::write(kLeaveScreen);
}

void HostScreen::watch(const HostModel& model) {
    model_ = &model;
}

void HostScreen::note(const String& kind, const String& text) {
    log_.push_back(std::string(clockText(false).view()) + " " + padded(kind, 8) + " " + printable(text));
    if (log_.size() > kLogKept)
        log_.pop_front();
    drawSoon();
}

void HostScreen::unitChanged(const HostUnit& unit, HostModel::Change change) {
    if (change == HostModel::Change::created)
        note("unit", concat(unit.address, " created"));
    drawSoon();
}

void HostScreen::showUnits(const HostModel& model) {
    const std::size_t rows = unitRows(static_cast<std::size_t>(terminal::size().rows));
    const std::size_t page = rows > 1 ? rows - 1 : 1;
    firstUnit_ =
        firstUnit_ + page < model.units().size() && rows < model.units().size() ? firstUnit_ + page : 0;
    drawSoon();
}

// A redraw for the age may be due later than this one.
void HostScreen::drawSoon() {
    if (!redraw_.isSet() || redraw_.Period() > kFrameMilliseconds)
        redraw_.setIn(kFrameMilliseconds);
}

void HostScreen::draw() {
    terminal::write(frame(terminal::size()));
    redraw_.setIn(kAgeMilliseconds);
}

std::size_t HostScreen::unitRows(std::size_t rows) const {
    const std::size_t free = std::max(rows, kLeastRows) - kFixedRows;
    const std::size_t beforeLog = free > kLeastLogRows ? free - kLeastLogRows : 0;
    const std::size_t room = std::max({kLeastUnitRows, free / 2, beforeLog});
    const std::size_t units = model_ != nullptr ? model_->units().size() : 0;
    return std::clamp<std::size_t>(units, 1, room);
}

std::string HostScreen::frame(terminal::Size size) {
    const auto columns = static_cast<std::size_t>(std::max(size.columns, 20));
    const auto rows = std::max(static_cast<std::size_t>(size.rows), kLeastRows);
    const std::size_t forUnits = unitRows(rows);
    const std::size_t forLog = rows - kFixedRows - forUnits;
    const Columns layout(columns);

    std::string text(kHome);
    text.append(kReverse).append(title(status_(), columns)).append(kNormal).append(kNextLine);
    const std::string heading = row(layout, "ADDRESS", "NAME", "VALUE", "BATT", "AGE");
    text.append(kBold).append(padded(heading, columns)).append(kNormal).append(kNextLine);
    appendUnits(text, forUnits, columns);
    text.append(rule(columns)).append(kNextLine);
    appendLog(text, forLog, columns);
    // The end of a line too long for the screen is where the typing goes on.
    text.append("> ").append(lastColumns(typed_, columns - 3));
    text.append(kClearLine).append("\x1b[?25h");
    return text;
}

void HostScreen::appendUnits(std::string& text, std::size_t rows, std::size_t columns) const {
    const Columns layout(columns);
    const std::size_t count = model_ != nullptr ? model_->units().size() : 0;
    const bool isPaged = rows < count;
    // The last page is a full one, too.
    const std::size_t first = isPaged ? std::min(firstUnit_, count - (rows - 1)) : 0;
    for (std::size_t i = 0; i < rows; ++i) {
        const std::size_t place = first + i;
        if (count == 0)
            text.append(padded("no units yet", columns));
        else if (isPaged && i + 1 == rows)
            text.append(padded(concat("units ", Str(static_cast<Integer>(first + 1)), " to ",
                                      Str(static_cast<Integer>(place)), " of ",
                                      Str(static_cast<Integer>(count)), "; type units for the next page"),
                               columns));
        else
            text.append(padded(unitRow(layout, *model_->units()[place]), columns));
        text.append(kNextLine);
    }
}

void HostScreen::appendLog(std::string& text, std::size_t rows, std::size_t columns) const {
    const std::size_t shown = std::min(rows, log_.size());
    for (std::size_t i = log_.size() - shown; i < log_.size(); ++i)
        text.append(padded(log_[i], columns)).append(kNextLine);
    for (std::size_t i = shown; i < rows; ++i)
        text.append(columns, ' ').append(kNextLine);
}

void HostScreen::typed(std::string_view bytes) {
    for (const char key : bytes)
        type(key);
    drawSoon();
}

// Arrow keys and their like send an escape sequence, which ends with a letter or a tilde.
void HostScreen::type(char key) {
    constexpr char kEscape = 27;
    constexpr char kBackspace = 8;
    constexpr char kDelete = 127;
    constexpr char kClear = 21;
    constexpr char kEnd = 4;
    if (inEscape_) {
        inEscape_ = key == '[' || key == 'O' || (key >= '0' && key <= '9') || key == ';';
    } else if (key == kEscape) {
        inEscape_ = true;
    } else if (key == '\n' || key == '\r') {
        const String line(std::exchange(typed_, std::string()), TextEncoding::utf8);
        entered_(line);
    } else if (key == kBackspace || key == kDelete) {
        while (!typed_.empty() && (static_cast<unsigned char>(typed_.back()) & 0xC0U) == 0x80U)
            typed_.pop_back();
        if (!typed_.empty())
            typed_.pop_back();
    } else if (key == kEnd && typed_.empty()) {
        entered_("quit");
    } else if (key == kClear) {
        typed_.clear();
    } else if (static_cast<unsigned char>(key) >= ' ' && typed_.size() < kLongestTyped) {
        typed_ += key;
    }
}

} // namespace hearthix::sim
