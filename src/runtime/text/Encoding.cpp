#include "runtime/text/Encoding.hpp"

#include "runtime/text/StringFunctions.hpp"

namespace hearthix {

TextEncoding Encoding(const String& text) {
    return text.encoding();
}

String DefineEncoding(const String& text, TextEncoding encoding) {
    String result = text;
    result.setEncoding(encoding);
    return result;
}

String ConvertEncoding(const String& text, TextEncoding encoding) {
    if (encoding != TextEncoding::utf8 || text.encoding() == TextEncoding::utf8)
        return DefineEncoding(text, encoding);
    String result(std::string_view(), TextEncoding::utf8);
    for (const char byte : text.view())
        result.append(Chr(static_cast<unsigned char>(byte)));
    return result;
}

} // namespace hearthix
