// The operations on strings.
//
// Positions count from 1. A range past the end yields what is there, down to the empty string; counts below
// zero read as zero. The forms with a B work on bytes, the others on characters: in text tagged as UTF-8 a
// character is a code point (a broken sequence counts byte by byte), in all other strings it is a byte.
// Comparisons and searches ignore the case of ASCII letters unless an operation says otherwise.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/text/String.hpp"

#include <string_view>

namespace hearthix {

Integer LenB(const String& text);
String LeftB(const String& text, Integer count);
String RightB(const String& text, Integer count);
String MidB(const String& text, Integer start);
String MidB(const String& text, Integer start, Integer count);
// Value of the first byte; 0 for the empty string.
Integer AscB(const String& text);
// One byte, without a tag; only the low eight bits of the value count.
String ChrB(Integer value);

Integer Len(const String& text);
String Left(const String& text, Integer count);
String Right(const String& text, Integer count);
String Mid(const String& text, Integer start);
String Mid(const String& text, Integer start, Integer count);
// The character of a code point, tagged as UTF-8; empty for a value that is no code point.
String Chr(Integer code);

// Blank, tab, line ends, form feed.
constexpr bool isWhiteSpace(char letter) {
    return letter == ' ' || (letter >= '\t' && letter <= '\r');
}
// Without the white space at both ends.
std::string_view trimmed(std::string_view text);
String Trim(const String& text);
// Position of the first occurrence at or behind start, in characters; 0 when there is none.
Integer InStr(Integer start, const String& text, const String& find);
// As InStr, in bytes, and by exact bytes.
Integer InStrB(Integer start, const String& text, const String& find);
// Field number index, counted from 1; empty when missing. An empty separator makes the text one field.
String NthField(const String& text, const String& separator, Integer index);
// Number of fields; an empty text has none.
Integer CountFields(const String& text, const String& separator);
Array<String> Split(const String& text, const String& separator);
String Join(const Array<String>& parts, const String& separator);
String ReplaceAll(const String& text, const String& old, const String& replacement);

// Whether two texts are equal, the case of ASCII letters apart.
bool RuntimeStringCompare(std::string_view left, std::string_view right) noexcept;

} // namespace hearthix
