// Texts of value types. An input is lines, each the name of a type, a tab and a text:
//
//     Pseudowire::TimeRange	Value('Pseudowire::TimeRange', ** {'min': 30, 'max': 45})
//
// A text that is read is the one that its value is written as, unless the type reads several; a
// text that is refused is refused at a place inside of it.

#include <algorithm>
#include <array>
#include <map>
#include <vector>

#include "Zin/Any.h"
#include "Zin/Exceptions.h"
#include "Zin/Module.h"
#include "fuzz/Fuzz.h"

namespace {

using fuzz::below;
using fuzz::require;
using Zin::ValueInfo;

const std::map<std::string_view, const ValueInfo*>& readableTypes() {
    static const auto all = [] {
        std::map<std::string_view, const ValueInfo*> types;
        Zin::forEachModule([&](const Zin::ZinModule& module) {
            for (const Zin::TypeInfo& type : module.types) {
                if (!type.value || type.value->holdsCollection()) continue;
                types.emplace(type.value->name, type.value);
            }
        });
        return types;
    }();
    return all;
}

// Addresses have many spellings, and so do fractions.
bool hasOneText(const ValueInfo& type) {
    constexpr std::array<std::string_view, 4> spelt{
        "Vorn::EthAddr",
        "Vorn::Ip6Addr",
        "Vorn::IpGenAddr",
        "Pseudowire::PseudowireLdpKey"};
    return type.kind != Zin::ValueKind::floatingNumber &&
           std::find(spelt.begin(), spelt.end(), type.name) == spelt.end() &&
           std::all_of(type.fields.begin(), type.fields.end(), [](const Zin::FieldInfo& field) {
               return hasOneText(*field.type);
           });
}

void read(const ValueInfo& type, std::string_view text) {
    Zin::Any value;
    try {
        value = Zin::Any::fromText(type, text);
    } catch (const Zin::TextException& e) {
        return require(e.position() <= text.size(), "a fault lies in the text", e.what());
    } catch (const Zin::TextRangeException& e) {
        return require(e.position() <= text.size(), "a fault lies in the text", e.what());
    } catch (const Zin::RangeException& e) {
        return require(!std::string_view(e.what()).empty(), "a fault is told");
    }
    const std::string written = value.text();
    require(!hasOneText(type) || written == text, "a value has one text", written);
    require(Zin::isUtf8(written), "texts are UTF-8", written);
    const Zin::Any again = Zin::Any::fromText(type, written);
    require(again.text() == written, "a text gives itself back", written);
    // No number is equal to itself when it is none.
    if (written.find("nan") != written.npos) return;
    require(again == value, "a text gives its value back", written);
    require(
        !type.hash || type.hash(again.get(), 7) == type.hash(value.get(), 7),
        "equal values hash alike",
        written);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (const std::string& line : fuzz::linesOf(fuzz::textOf(data, size))) {
        const std::size_t tab = line.find('\t');
        const auto type = readableTypes().find(line.substr(0, tab));
        if (tab == line.npos || type == readableTypes().end()) continue;
        // A block that ends where the text does.
        const std::vector<char> text(
            line.begin() + static_cast<std::ptrdiff_t>(tab) + 1,
            line.end());
        read(*type->second, {text.data(), text.size()});
    }
    return 0;
}

// One line of the input: its text is changed, and now and then its type.
std::size_t
LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    fuzz::Random random(seed);
    const auto lines = fuzz::linesOf(fuzz::textOf(data, size));
    if (below(random, 32) == 0) return LLVMFuzzerMutate(data, size, most);
    const std::string line = lines.empty() ? "" : lines[below(random, lines.size())];
    const std::size_t tab = line.find('\t');
    std::string type = line.substr(0, tab);
    std::string text = tab == line.npos ? "" : line.substr(tab + 1);
    if (tab == line.npos || below(random, 16) == 0) {
        const auto any = std::next(
            readableTypes().begin(),
            static_cast<std::ptrdiff_t>(below(random, readableTypes().size())));
        type = any->first;
        if (below(random, 2)) text = Zin::Any(*any->second).text();
    }
    return fuzz::put(type + '\t' + fuzz::mutated(text), data, size, most);
}
