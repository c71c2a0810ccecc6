// Reads a recording of a gateway's line as a stream of bytes, in one of these formats:
//
//   hearthix-sim host --record       512 > 10;0;1;0;0;15.0         time and direction
//   ser2net trace-both, hexdump      [2026/11/26 03:35:28 ]term 31 30 3b 32  |10;2|
//                                    "term" from the gateway, "tcp" from the driver
//   tio --log --timestamp            [03:35:59.812] 10;0;1;0;0;15.0
//                                    a line without a time was typed, or came from tio's socket
//   bare lines                       10;0;1;0;0;15.0
//                                    also ser2net trace-both without hexdump; the direction is guessed
//
// The first lines decide which format it is. Memory is bounded, however long the file or a line is.
#pragma once

#include "runtime/text/String.hpp"

#include <array>
#include <functional>
#include <string>
#include <string_view>

namespace hearthix::sim {

struct TracedLine {
    std::string_view text;   // without its line feed; borrowed for the call
    Integer number = 0;      // in the file, from 1
    Integer at = -1;         // milliseconds on the recording's clock, which never goes back; -1 for no time
    Integer inexactness = 0; // of the time
    bool toDriver = false;   // from the gateway; otherwise from the driver
    bool isFirst = false;    // the first in its direction after the opening; its start may be missing
    bool isCut = false;      // its end is missing
    bool isLoose = false;    // the recording has no directions, and may mix the bytes of both
};

class RecordingReader {
public:
    // The name of the file is for messages.
    explicit RecordingReader(std::string name) : name_(std::move(name)) {}

    std::function<void(const TracedLine&)> line; // must be set before feed
    std::function<void()> opened;                // a program opened the line; may stay unset

    // Both raise Failure if the bytes are not a recording, with the line's number and the expected formats.
    void feed(std::string_view bytes);
    void finish();

    const char* format() const;
    Integer lines() const noexcept { return number_; }
    bool hasDirections() const noexcept;
    // Whether times are milliseconds since the beginning of the recording.
    bool countsFromStart() const noexcept { return format_ == Format::record; }
    // A time of this recording for people.
    std::string timeText(Integer at) const;

private:
    struct Frame;
    enum class Format { unknown, record, hexdump, tio, bare };

    static Frame frameOf(Format format, std::string_view text);
    static Format framedFormatOf(std::string_view text);
    Format formatOfHead(bool isComplete) const;
    void detect(bool isComplete);
    void cutLines(std::string_view bytes);
    void handle(std::string_view text, bool isCut);
    void handleTio(std::string_view text, bool isCut);
    void handleBare(std::string_view text, bool isCut);
    void handleHexdump(const Frame& frame);
    void handleEvent(std::string_view text);
    void emitHalves();
    void emit(std::string_view text, bool toDriver, bool isCut);
    void setTime(const Frame& frame);
    [[noreturn]] void refuse(Integer number, const char* expected) const;

    std::string name_;
    std::string head_;                        // until the format is known
    std::string unended_;                     // the beginning of a line
    std::array<std::string, 2> halves_;       // hexdump: the incomplete lines from the driver and to it
    std::array<bool, 2> isFirst_{true, true}; // no line yet in that direction
    Format format_ = Format::unknown;
    bool isTrace_ = false; // bare lines with lines of ser2net between them
    bool isDated_ = false;
    bool countsFromBefore_ = false; // tio's 24hour-delta
    Integer number_ = 0;
    Integer at_ = -1;
    Integer stamp_ = -1; // the last time as it was written
    Integer shift_ = 0;  // to be added for the recording's clock
    Integer resolution_ = 1;
};

} // namespace hearthix::sim
