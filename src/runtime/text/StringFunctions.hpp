// The operations on strings.
//
// Positions count from 1. A range past the end yields what is there, down to the empty string. Negative
// counts are read as 0. The functions with a B work on bytes, the others on characters: in text tagged as
// UTF-8 a character is a code point, and each byte of a broken sequence counts as one; in all other strings a
// character is a byte.
//
// Comparisons and searches ignore the case of ASCII letters, unless a function says otherwise. They never
// ignore the case of other letters, in any encoding.
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/text/String.hpp"

#include <string_view>

namespace hearthix {

Integer LenB(const String& text);
String LeftB(const String& text, Integer count);
String RightB(const String& text, Integer count);
String MidB(const String& text, Integer start, Integer count = INT64_MAX);
// The value of the first byte; 0 for the empty string.
Integer AscB(const String& text);
// One byte, without a tag. Only the low eight bits of the value count.
String ChrB(Integer value);

Integer Len(const String& text);
String Left(const String& text, Integer count);
String Right(const String& text, Integer count);
String Mid(const String& text, Integer start, Integer count = INT64_MAX);
// The character of a code point, tagged as UTF-8. The empty string if the value is not a code point.
String Chr(Integer code);

// Blank, tab, line ends and form feed.
constexpr bool isWhiteSpace(char letter) {
    return letter == ' ' || (letter >= '\t' && letter <= '\r');
}
// The text without the white space at both ends.
std::string_view trimmed(std::string_view text);
String Trim(const String& text);
// The position of the first occurrence at or after start, in characters; 0 if there is none.
Integer InStr(Integer start, const String& text, const String& find);
// The same in bytes. Does not ignore case.
Integer InStrB(Integer start, const String& text, const String& find);
// The field with a number from 1 on; empty if there is no such field. An empty separator yields one field.
String NthField(const String& text, const String& separator, Integer index);
// The number of fields; 0 for an empty text.
Integer CountFields(const String& text, const String& separator);
Array<String> Split(const String& text, const String& separator);
String Join(const Array<String>& parts, const String& separator);
// The tag of the text stays.
String ReplaceAll(const String& text, const String& old, const String& replacement);

// Whether two texts are equal, ignoring the case of ASCII letters only.
bool RuntimeStringCompare(std::string_view left, std::string_view right) noexcept;
// Whether the left text comes first, by the same rule. Used to sort keys.
bool isLessIgnoringCase(std::string_view left, std::string_view right) noexcept;

} // namespace hearthix
