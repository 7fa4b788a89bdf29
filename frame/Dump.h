// Debug dumps of entities: indented lines for people.
//
//     PatchPanel 0x55d0c3f0
//       ready yes
//       patchs #1
//         Patch east
//           enabled yes
//
// Every entity type has a dumpState() that follows from its schema (frame/Entity.h). A type
// whose dump is a matter of its own hides it by a hand-written one:
//
//     void VplsConfig::dumpState(const Quib::DumpContextPtr& context, unsigned indent) const {
//         const frame::Dump body = frame::Dump(context, indent).header("VplsConfig", name());
//         const frame::Dump members = body.collection("instance", instance_.members());
//         for (auto it = instance_.iteratorConst(); it; ++it) members.child(it.value().get());
//         body.attribute("enabled", enabled_);
//     }

#pragma once

#include <concepts>
#include <cstdint>
#include <string_view>

#include "Quib/DumpContext.h"
#include "Zin/Entity.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/ValueInfoOf.h"

namespace frame {

// How attributes and the headers of collections look. A type that does not want the first says
// so: `static constexpr frame::DumpStyle dumpStyle = frame::DumpStyle::assigning`.
enum class DumpStyle : std::uint8_t {
    // "mtu 9000", "patchs #2"; members are "key -> value"
    plain,
    // "mtu=9000", "patch[] 2"; members that have fields take a line for each of them
    assigning,
};

// The text of a value in a dump: booleans are yes and no, strings have no quotes unless they
// hold what would spoil the line.
ZIN_EXPORT Zin::String dumpText(const Zin::ValueInfo& type, const void* value);

// The same for a string.
ZIN_EXPORT Zin::String dumpText(std::string_view text);

// The same for a value of a known type.
template <class T>
requires(!std::convertible_to<const T&, std::string_view>) Zin::String
    dumpText(const T& value) {
    return dumpText(Zin::valueInfo<T>, &value);
}

// The lines of a dump at one depth. Refers to the context that it was made with.
class ZIN_EXPORT Dump {
  public:
    // Lines behind `indent` blanks.
    Dump(
        const Quib::DumpContextPtr& context,
        unsigned indent,
        DumpStyle style = DumpStyle::plain)
        : context_(context), indent_(indent), style_(style) {}

    // How it writes attributes.
    DumpStyle style() const { return style_; }
    // One level deeper.
    Dump nested() const { return Dump(context_, indent_ + 2, style_); }

    // A line of any other form, without its newline.
    [[gnu::format(printf, 2, 3)]] void line(const char* format, ...) const;

    // --- All return what stands below the line ---
    // "Patch east", or "Patch" without a name.
    Dump header(std::string_view typeName, std::string_view name = {}) const;
    template <class T>
    Dump attribute(std::string_view name, const T& value) const {
        return assignment(name, dumpText(value));
    }
    Dump collection(std::string_view name, std::uint32_t members) const;
    // "east -> 7"
    template <class Key, class Value>
    Dump member(const Key& key, const Value& value) const {
        return mapping(dumpText(key), dumpText(value));
    }

    // --- Child entities ---
    // Of its own type.
    template <class Child>
    void child(const Child* child) const {
        Quib::ObjDumpChild(child, context_, indent_);
    }
    // Of whatever type it is.
    void entity(const Zin::Entity* child) const;

  private:
    Dump assignment(std::string_view name, const Zin::String& text) const;
    Dump mapping(const Zin::String& key, const Zin::String& value) const;

    const Quib::DumpContextPtr& context_;
    unsigned indent_;
    DumpStyle style_;
};

// What an entity type's dumpState() does unless it is hand-written: a header, which is the
// type's name with the address of an entity that has no parent and with the name of any other,
// and below it all attributes but functions, in the order of their ids.
ZIN_EXPORT void dumpBySchema(
    const Zin::Entity& entity,
    DumpStyle style,
    const Quib::DumpContextPtr& context,
    unsigned indent);

}  // namespace frame
