// A text file with the lines between a gateway and the driver and their times. It can be inspected and
// replayed.
//
// A line of the file is the time in milliseconds from the start of the connection, the direction (">" from
// the gateway to the driver, "<" from the driver), and the unchanged line, without its line feed:
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
// Reads any format of RecordingReader. Lines without a time follow one another within 10 milliseconds. If the
// text is not a recording, raises Failure with the number of the line. The name is for the message.
std::vector<RecordedLine> parseRecording(const String& text, const String& name);
std::vector<RecordedLine> loadRecording(const String& path);

class Recorder {
public:
    // Creates an empty file. Raises Failure if that is impossible.
    void open(const String& path);
    // Does nothing before open.
    void note(const RecordedLine& line);

private:
    std::ofstream file_;
};

} // namespace hearthix::sim
