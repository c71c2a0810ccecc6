#include "sim/Recording.hpp"

#include "runtime/text/Numbers.hpp"
#include "sim/Failure.hpp"
#include "sim/InputFile.hpp"
#include "sim/inspect/RecordingReader.hpp"
#include "sim/Text.hpp"

#include <string>

namespace hearthix::sim {

String recordedText(const RecordedLine& line) {
    return concat(String(paddedLeft(Str(line.at), 10), TextEncoding::utf8), line.toDriver ? " > " : " < ",
                  line.text);
}

std::vector<RecordedLine> parseRecording(const String& text, const String& name) {
    constexpr Integer kUntimedMilliseconds = 10;
    std::vector<RecordedLine> lines;
    Integer start = -1;
    RecordingReader reader{std::string(name.view())};
    reader.line = [&](const TracedLine& line) {
        const Integer untimed = static_cast<Integer>(lines.size()) * kUntimedMilliseconds;
        // In this program's own format, times count from the start of the recording. In other formats they
        // count from another moment.
        start = start < 0 && reader.countsFromStart() ? 0 : start;
        start = start < 0 ? line.at : start;
        lines.push_back({line.at < 0 ? untimed : line.at - start, line.toDriver, String(line.text)});
    };
    reader.feed(text);
    reader.finish();
    return lines;
}

std::vector<RecordedLine> loadRecording(const String& path) {
    return parseRecording(String(std::string_view(contentOf(path, "--replay"))), path);
}

void Recorder::open(const String& path) {
    file_.open(std::string(path.view()), std::ios::binary | std::ios::trunc);
    if (!file_)
        throw Failure{concat("cannot write ", path, "; name a file that can be written with --record FILE")};
}

// Each line is written at once, so that the last lines before a failure are not lost.
void Recorder::note(const RecordedLine& line) {
    if (file_.is_open())
        file_ << recordedText(line).view() << '\n' << std::flush;
}

} // namespace hearthix::sim
