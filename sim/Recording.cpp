#include "sim/Recording.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/Failure.hpp"
#include "sim/InputFile.hpp"
#include "sim/Text.hpp"

#include <string>

namespace hearthix::sim {

String recordedText(const RecordedLine& line) {
    return concat(String(paddedLeft(Str(line.at), 10), TextEncoding::utf8), line.toDriver ? " > " : " < ",
                  line.text);
}

std::vector<RecordedLine> parseRecording(const String& text, const String& name) {
    std::vector<RecordedLine> lines;
    Integer number = 0;
    for (const String& each : Split(text, "\n")) {
        ++number;
        if (Trim(each).empty())
            continue;
        const std::string_view whole = each.view();
        const std::size_t mark = whole.find_first_of("<>");
        const String time = Trim(each.cut(0, mark == std::string_view::npos ? 0 : mark));
        if (!IsNumeric(time) || Val(time) < 0)
            throw Failure{concat(name, ":", Str(number), ": write it as: MILLISECONDS > LINE")};
        lines.push_back({ValInteger(time), whole[mark] == '>', each.cut(mark + 2)});
    }
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

// Each line is in the file at once: the end of a recording is where it is needed most.
void Recorder::note(const RecordedLine& line) {
    if (file_.is_open())
        file_ << recordedText(line).view() << '\n' << std::flush;
}

} // namespace hearthix::sim
