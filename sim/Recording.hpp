// What went over a gateway's line, with the time, as a text file: for looking at, and for playing again.
//
// A line of the file is the time in milliseconds from the start of the connection, the direction (">" from
// the gateway to the driver, "<" from the driver), and the line as it was, without its line feed:
//
//        512 > 10;0;1;0;0;15.0
//        530 < 0;0;3;0;2;
#pragma once

#include "runtime/text/String.hpp"

#include <fstream>
#include <vector>

namespace hearthix::sim {

struct RecordedLine {
    Integer at = 0; // milliseconds
    bool toDriver = false;
    String text;
};

String recordedText(const RecordedLine& line);
// Any format of RecordingReader. Lines without a time follow one another within 10 milliseconds. Raises
// Failure with the line's number for what is no recording. The name is for the message.
std::vector<RecordedLine> parseRecording(const String& text, const String& name);
std::vector<RecordedLine> loadRecording(const String& path);

class Recorder {
public:
    // Starts an empty file; raises Failure when there can be none.
    void open(const String& path);
    // Nothing happens before open.
    void note(const RecordedLine& line);

private:
    std::ofstream file_;
};

} // namespace hearthix::sim
