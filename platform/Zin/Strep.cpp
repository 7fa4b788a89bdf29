#include "Zin/Strep.h"

namespace Zin {

namespace {

std::string_view viewOf(const String::IteratorConst& it, const String::IteratorConst& end) {
    const char* const begin = it.operator->();
    return std::string_view(begin, static_cast<std::size_t>(end.operator->() - begin));
}

void moveBehind(String::IteratorConst& it, const TextReader& reader) {
    it = String::IteratorConst(it.operator->() + reader.position());
}

}  // namespace

void needString(
    String::IteratorConst& it,
    const String::IteratorConst& end,
    std::string_view literal) {
    TextReader reader(viewOf(it, end));
    reader.need(literal);
    moveBehind(it, reader);
}

void strepToValueEnd(const String::IteratorConst& it, const String::IteratorConst& end) {
    TextReader(viewOf(it, end)).needEnd();
}

namespace detail {

void readAttr(
    String::IteratorConst& it,
    const String::IteratorConst& end,
    const ValueInfo& type,
    void* value,
    std::string_view fieldName) {
    TextReader reader(viewOf(it, end));
    if (fieldName.empty()) {
        readText(reader, type, value);
    } else {
        readField(reader, fieldName, type, value);
    }
    moveBehind(it, reader);
}

}  // namespace detail

String shortForm(std::initializer_list<ShortField> fields) {
    std::string text;
    char separator = '<';
    for (const ShortField& field : fields) {
        text += separator;
        text += field.name();
        text += '=';
        text += field.text().view();
        separator = ';';
    }
    return text + '>';
}

}  // namespace Zin
