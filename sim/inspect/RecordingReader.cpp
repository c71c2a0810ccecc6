#include "sim/inspect/RecordingReader.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/Failure.hpp"

#include <algorithm>
#include <bitset>
#include <charconv>
#include <chrono>

namespace hearthix::sim {

namespace {

constexpr std::size_t kLongestLine = 262'144; // host --record cuts lines at a quarter of this length
constexpr std::size_t kLongestHead = kLongestLine;
constexpr Integer kHeadLines = 20;
constexpr Integer kSecond = 1000;
constexpr Integer kHour = 3'600'000;
constexpr Integer kDay = 24 * kHour;

constexpr const char* kRecordForm = "MILLISECONDS > LINE, as hearthix-sim host --record writes it";
constexpr const char* kHexdumpForm =
    "[YYYY/MM/DD HH:MM:SS] term BYTES, as ser2net writes it with trace-both-hexdump";
constexpr const char* kAnyForm =
    "a recording of hearthix-sim host --record, a trace-both file of ser2net, a log of tio with timestamps, "
    "or bare lines such as 10;0;1;0;0;21.5";

// Whether a text starts with the pattern, where 0 means any digit.
bool startsLike(std::string_view text, std::string_view pattern) {
    if (text.size() < pattern.size())
        return false;
    for (std::size_t i = 0; i < pattern.size(); ++i)
        if (pattern[i] == '0' ? !isDigit(text[i]) : text[i] != pattern[i])
            return false;
    return true;
}

Integer digitsAt(std::string_view text, std::size_t at, std::size_t count) {
    std::string_view digits = text.substr(at, count);
    return takeDigits(digits);
}

// "03:35:28" in milliseconds.
Integer clockAt(std::string_view text, std::size_t at) {
    return digitsAt(text, at, 2) * kHour + digitsAt(text, at + 3, 2) * kHour / 60 +
           digitsAt(text, at + 6, 2) * kSecond;
}

// "2026/11/26" in milliseconds since 1970.
Integer dateAt(std::string_view text, std::size_t at) {
    using namespace std::chrono;
    const year_month_day date(year(static_cast<int>(digitsAt(text, at, 4))),
                              month(static_cast<unsigned>(digitsAt(text, at + 5, 2))),
                              day(static_cast<unsigned>(digitsAt(text, at + 8, 2))));
    return date.ok() ? Integer{sys_days(date).time_since_epoch().count()} * kDay : 0;
}

constexpr std::string_view kTraceTime = "0000/00/00 00:00:00 ";
constexpr std::string_view kClockStamp = "[00:00:00.000] ";
constexpr std::string_view kDateStamp = "[0000-00-00T00:00:00.000] ";

// The offset of a timestamp of tio in a line; npos if there is none.
std::size_t stampIn(std::string_view text) {
    for (std::size_t at = text.find('['); at != std::string_view::npos; at = text.find('[', at + 1))
        if (startsLike(text.substr(at), kClockStamp) || startsLike(text.substr(at), kDateStamp))
            return at;
    return std::string_view::npos;
}

// The offset of a line of ser2net itself, which may follow the beginning of another line.
std::size_t traceEventIn(std::string_view text) {
    for (const std::string_view word : {"OPEN (", "CLOSE "})
        if (const std::size_t at = text.find(word);
            at != std::string_view::npos && at >= kTraceTime.size() &&
            startsLike(text.substr(at - kTraceTime.size()), kTraceTime))
            return at - kTraceTime.size();
    return std::string_view::npos;
}

bool isMessage(std::string_view text) {
    int fields = 0;
    while (!text.empty() && isDigit(text[0]) && fields < 5) {
        std::string_view rest = text;
        takeDigits(rest);
        if (!rest.starts_with(';'))
            return false;
        text = rest.substr(1);
        ++fields;
    }
    return fields == 5;
}

// Whether the bytes come from a line at a wrong speed: they have few different values, many of which are not
// text. Other binary files have more values.
bool isSerialJunk(std::string_view bytes) {
    constexpr std::size_t kMostValues = 80;
    std::bitset<256> values;
    std::size_t strange = 0;
    for (const char each : bytes) {
        const auto value = static_cast<unsigned char>(each);
        values.set(value);
        strange += value >= 127 || (value < ' ' && !isWhiteSpace(each)) ? 1U : 0U;
    }
    return strange * 4 > bytes.size() && values.count() <= kMostValues;
}

// Removes escape sequences for terminals, which a program that shows the lines may add.
void dropEscapes(std::string& text) {
    std::size_t start = text.find("\x1b[");
    while (start != std::string::npos) {
        const std::size_t end = text.find_first_not_of("0123456789;?", start + 2);
        text.erase(start, end == std::string::npos ? end : end + 1 - start);
        start = text.find("\x1b[", start);
    }
}

// Whether only the driver sends such a line. For recordings without directions.
bool isFromDriver(std::string_view text) {
    std::array<std::string_view, 5> fields;
    for (std::string_view& field : fields) {
        const std::size_t end = text.find(';');
        if (end == std::string_view::npos)
            return false;
        field = text.substr(0, end);
        text.remove_prefix(end + 1);
    }
    if (fields[2] != "3" || fields[3] != "0")
        return false;
    const std::string_view payload = trimmed(text);
    const std::string_view type = fields[4];
    if (type == "2" || type == "1")
        return type == "2" ? payload.empty() && fields[0] == "0" : !payload.empty();
    return type == "4" || type == "13" || type == "18" || type == "19" || type == "20" ||
           (type == "6" && (payload == "I" || payload == "M"));
}

} // namespace

// One line of the file.
struct RecordingReader::Frame {
    bool isGood = false;
    std::string_view text;
    bool toDriver = true;
    Integer stamp = -1;
    bool isDated = false;
};

RecordingReader::Frame RecordingReader::frameOf(Format format, std::string_view text) {
    if (format == Format::record) {
        std::string_view rest = text.substr(std::min(text.find_first_not_of(' '), text.size()));
        const bool hasTime = !rest.empty() && isDigit(rest[0]);
        const Integer time = takeDigits(rest);
        const bool fits = hasTime && (rest.starts_with(" >") || rest.starts_with(" <")) &&
                          (rest.size() == 2 || rest[2] == ' ');
        return {fits, fits ? rest.substr(std::min<std::size_t>(rest.size(), 3)) : rest,
                fits && rest[1] == '>', time};
    }
    if (format == Format::hexdump) {
        const bool hasTime = startsLike(text, kTraceTime);
        const Integer stamp = hasTime ? dateAt(text, 0) + clockAt(text, 11) : -1;
        text.remove_prefix(hasTime ? kTraceTime.size() : 0);
        const bool fits = text.starts_with("term ") || text.starts_with("tcp  ");
        return {fits, fits ? text.substr(5) : text, text.starts_with("term"), stamp, true};
    }
    if (format == Format::tio && startsLike(text, kClockStamp))
        return {true, text.substr(kClockStamp.size()), true, clockAt(text, 1) + digitsAt(text, 10, 3)};
    if (format == Format::tio && startsLike(text, kDateStamp))
        return {true, text.substr(kDateStamp.size()), true,
                dateAt(text, 1) + clockAt(text, 12) + digitsAt(text, 21, 3), true};
    return {format == Format::bare && isMessage(text), text};
}

const char* RecordingReader::format() const {
    switch (format_) {
    case Format::record: return "hearthix-sim host --record";
    case Format::hexdump: return "ser2net trace-both with hexdump";
    case Format::tio: return "tio --log with timestamps";
    case Format::bare: return isTrace_ ? "ser2net trace-both without hexdump" : "bare lines";
    default: return "nothing yet";
    }
}

bool RecordingReader::hasDirections() const noexcept {
    return format_ == Format::record || format_ == Format::hexdump;
}

std::string RecordingReader::timeText(Integer at) const {
    const auto part = [](Integer number, std::size_t digits) {
        const std::string text = std::to_string(number);
        return std::string(digits - std::min(digits, text.size()), '0') + text;
    };
    const Integer inDay = at % kDay;
    std::string time = part(inDay / kHour, 2) + ":" + part(inDay / (kHour / 60) % 60, 2) + ":" +
                       part(inDay / kSecond % 60, 2);
    if (resolution_ < kSecond)
        time += "." + part(inDay % kSecond, 3);
    if (!isDated_)
        return at < kDay ? time : std::to_string(at / kDay) + "d " + time;
    const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(at / kDay))};
    return part(static_cast<int>(date.year()), 4) + "-" + part(static_cast<unsigned>(date.month()), 2) + "-" +
           part(static_cast<unsigned>(date.day()), 2) + " " + time;
}

RecordingReader::Format RecordingReader::framedFormatOf(std::string_view text) {
    if (stampIn(text) != std::string_view::npos)
        return Format::tio;
    for (const Format each : {Format::record, Format::hexdump})
        if (frameOf(each, text).isGood)
            return each;
    return Format::unknown;
}

// The first line may be incomplete, and bare lines may follow the start messages of a gateway.
RecordingReader::Format RecordingReader::formatOfHead(bool isComplete) const {
    std::string head = head_;
    dropEscapes(head);
    std::string_view rest = head;
    Format found = Format::unknown;
    Integer count = 0;
    for (std::size_t end = 0; !rest.empty() && count < kHeadLines; ++count) {
        end = rest.find('\n');
        if (end == std::string_view::npos && !isComplete)
            break;
        const std::string_view text = rest.substr(0, end);
        rest.remove_prefix(std::min(end, rest.size() - 1) + 1);
        if (const Format framed = framedFormatOf(text); framed != Format::unknown)
            return framed;
        if (frameOf(Format::bare, text).isGood || traceEventIn(text) == 0)
            found = Format::bare;
    }
    const bool isEnough = isComplete || (found == Format::bare ? count >= 3 : count >= kHeadLines) ||
                          head_.size() >= kLongestHead;
    if (!isEnough)
        return Format::unknown;
    if (found == Format::unknown && !isSerialJunk(head_))
        refuse(1, kAnyForm);
    return Format::bare;
}

void RecordingReader::detect(bool isComplete) {
    format_ = formatOfHead(isComplete);
    if (format_ == Format::unknown)
        return;
    const std::string head = std::move(head_);
    head_.clear();
    cutLines(head);
}

void RecordingReader::feed(std::string_view bytes) {
    if (format_ != Format::unknown)
        return cutLines(bytes);
    head_ += bytes;
    if (bytes.find('\n') != std::string_view::npos || head_.size() >= kLongestHead)
        detect(false);
}

void RecordingReader::finish() {
    if (format_ == Format::unknown && trimmed(head_).empty())
        throw Failure{
            concat(String(std::string_view(name_)),
                   " is empty; record some minutes, and check the gateway's speed if no line comes")};
    if (format_ == Format::unknown)
        detect(true);
    if (!unended_.empty())
        handle(std::exchange(unended_, {}), true);
    emitHalves();
}

void RecordingReader::cutLines(std::string_view bytes) {
    while (true) {
        const std::size_t end = bytes.find('\n');
        if (end == std::string_view::npos)
            break;
        if (unended_.empty())
            handle(bytes.substr(0, end), false);
        else
            handle(std::exchange(unended_, {}).append(bytes.substr(0, end)), false);
        bytes.remove_prefix(end + 1);
    }
    unended_ += bytes;
    if (unended_.size() > kLongestLine)
        handle(std::exchange(unended_, {}), false);
}

void RecordingReader::handle(std::string_view text, bool isCut) {
    ++number_;
    if (trimmed(text).empty())
        return;
    std::string clean;
    if (text.find("\x1b[") != std::string_view::npos) {
        clean = text;
        dropEscapes(clean);
        text = clean;
    }
    if (format_ == Format::tio)
        return handleTio(text, isCut);
    if (format_ == Format::bare)
        return handleBare(text, isCut);
    const Frame frame = frameOf(format_, text);
    if (format_ == Format::hexdump && traceEventIn(text) == 0)
        return handleEvent(text);
    if (!frame.isGood) {
        if (number_ > 1 && !isCut)
            refuse(number_, format_ == Format::record ? kRecordForm : kHexdumpForm);
        return;
    }
    setTime(frame);
    if (format_ == Format::hexdump)
        handleHexdump(frame);
    else
        emit(frame.text, frame.toDriver, isCut);
}

void RecordingReader::handleTio(std::string_view text, bool isCut) {
    const std::size_t start = std::min(stampIn(text), text.size());
    if (const std::string_view typed = trimmed(text.substr(0, start)); !typed.empty())
        emit(typed, false, isCut);
    if (start == text.size())
        return;
    const Frame frame = frameOf(Format::tio, text.substr(start));
    setTime(frame);
    emit(frame.text, true, isCut);
}

void RecordingReader::handleBare(std::string_view text, bool isCut) {
    const std::size_t event = traceEventIn(text);
    if (event == std::string_view::npos)
        return emit(text, !isFromDriver(text), isCut);
    isTrace_ = true;
    if (event > 0)
        emit(text.substr(0, event), true, true);
    handleEvent(text.substr(event));
}

// Handles a line of ser2net itself.
void RecordingReader::handleEvent(std::string_view text) {
    if (text.find(" OPEN (") == std::string_view::npos)
        return;
    emitHalves();
    isFirst_ = {true, true};
    if (opened)
        opened();
}

void RecordingReader::emitHalves() {
    for (const bool toDriver : {false, true})
        if (std::string half = std::exchange(halves_[toDriver ? 1 : 0], {}); !half.empty())
            emit(half, toDriver, true);
}

void RecordingReader::handleHexdump(const Frame& frame) {
    std::string& half = halves_[frame.toDriver ? 1 : 0];
    for (std::string_view rest = frame.text; rest.size() >= 3 && rest[0] != ' '; rest.remove_prefix(3)) {
        unsigned char byte = 0;
        if (std::from_chars(rest.data(), rest.data() + 2, byte, 16).ptr != rest.data() + 2)
            refuse(number_, kHexdumpForm);
        if (byte != '\n' && half.size() < kLongestLine) {
            half += static_cast<char>(byte);
            continue;
        }
        emit(half, frame.toDriver, false);
        half.clear();
    }
}

void RecordingReader::emit(std::string_view text, bool toDriver, bool isCut) {
    const bool isFirst = std::exchange(isFirst_[toDriver ? 1 : 0], false);
    line({text, number_, at_, resolution_ < kSecond ? 50 : kSecond, toDriver, isFirst, isCut,
          format_ == Format::bare});
}

// Times of day go back at midnight. In tio's format 24hour-delta each time counts from the previous line; the
// first time that is less than its predecessor shows this format.
void RecordingReader::setTime(const Frame& frame) {
    if (frame.stamp < 0)
        return;
    isDated_ = frame.isDated;
    resolution_ = format_ == Format::hexdump ? kSecond : 1;
    const bool goesBack = frame.stamp < stamp_;
    countsFromBefore_ =
        countsFromBefore_ || (goesBack && format_ == Format::tio && !isDated_ && stamp_ < kHour);
    if (countsFromBefore_)
        shift_ = at_;
    else if (goesBack && !isDated_ && stamp_ - frame.stamp > kDay / 2)
        shift_ += kDay;
    else if (goesBack)
        shift_ = at_ - frame.stamp;
    stamp_ = frame.stamp;
    at_ = frame.stamp + shift_;
}

void RecordingReader::refuse(Integer number, const char* expected) const {
    throw Failure{concat(String(std::string_view(name_)), ":", Str(number), ": expected ", expected)};
}

} // namespace hearthix::sim
