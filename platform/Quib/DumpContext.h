// DumpContext is where debug dumps are written to. It counts the lines, and remembers which
// objects were dumped on which of them, so that an object that is met again is referred to
// instead of dumped twice.
//
//     std::string text;
//     config->dumpState(Quib::DumpContext::make(text), 0);
//
// A dump runs on the thread that changes the objects. Objects are remembered by address: they
// live as long as the context is written to. Where a dump is given no context, it goes to
// standard output and refers to nothing.
//
// A hand-written dump prints through frame/Dump.h, which keeps to the forms that dumps share.

#pragma once

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <typeinfo>
#include <unordered_map>

#include "Zin/AllocTrack.h"
#include "Zin/Export.h"
#include "Zin/Ptr.h"
#include "Zin/String.h"

namespace Quib {

class ZIN_EXPORT DumpContext final : public Zin::PtrInterface {
  public:
    // Takes what is written, a line or several at a time.
    using Sink = std::function<void(std::string_view text)>;
    // What is written behind a child's dump.
    enum class AfterChild : std::uint8_t { blankLine, nothing };

    // A context that hands on what is written.
    static Zin::Ptr<const DumpContext> make(
        Sink sink,
        AfterChild after = AfterChild::blankLine);
    // REQUIRES: the string outlives the context.
    static Zin::Ptr<const DumpContext> make(
        std::string& text,
        AfterChild after = AfterChild::blankLine);

    // Writes the text as it is, and counts its lines.
    void write(std::string_view text) const;
    // The line that is written next, from 1.
    std::uint32_t line() const noexcept { return line_; }

    // The object is dumped from the line on that is written next. A second mark is ignored.
    void markObject(const Zin::PtrInterface* object) const;
    bool isDumped(const Zin::PtrInterface* object) const;
    // 0 for an object that is not dumped.
    std::uint32_t getDumpLineForObj(const Zin::PtrInterface* object) const;

    // What is written behind a child's dump.
    AfterChild afterChild() const noexcept { return after_; }

    // Destroys the context, and tracks that its memory is released.
    static void operator delete(DumpContext* object, std::destroying_delete_t);

    static constinit Zin::AllocTrackTypeInfo zinAllocTrackTypeInfo_;

  private:
    DumpContext(Sink sink, AfterChild after);

    Sink sink_;
    AfterChild after_;
    mutable std::uint32_t line_ = 1;
    mutable std::unordered_map<const Zin::PtrInterface*, std::uint32_t> lineOf_;
};

// How contexts are handed around; null stands for standard output.
using DumpContextPtr = Zin::Ptr<const DumpContext>;

// Writes to the context, or to standard output when it is null.
[[gnu::format(printf, 2, 3)]] ZIN_EXPORT void
objDumpPrintf(const DumpContextPtr& context, const char* format, ...);

// Writes one line behind as many blanks; the format has no newline.
[[gnu::format(printf, 3, 4)]] ZIN_EXPORT void
objDumpLine(const DumpContextPtr& context, unsigned indent, const char* format, ...);

// The same, of arguments that were collected.
[[gnu::format(printf, 3, 0)]] ZIN_EXPORT void objDumpLineV(
    const DumpContextPtr& context,
    unsigned indent,
    const char* format,
    std::va_list arguments);

// The name of a type as people write it, of its name in std::type_info: demangled, without the
// '*' that some compilers put in front and without unnamed namespaces.
ZIN_EXPORT Zin::String objDumpSanitizeTypeName(const char* typeInfoName);

// The type that the object has at run time. REQUIRES: it is not null.
template <class Child>
Zin::String objDumpTypeName(const Child* object) {
    return objDumpSanitizeTypeName(typeid(*object).name());
}

namespace detail {

using DumpState =
    void (*)(const Zin::PtrInterface& object, const DumpContextPtr& context, unsigned indent);

ZIN_EXPORT void objDumpChild(
    const Zin::PtrInterface* child,
    DumpState dumpState,
    const DumpContextPtr& context,
    unsigned indent);

}  // namespace detail

// Dumps a child: "NULL" for none, a reference to its line for one that was dumped, its
// dumpState() and a blank line otherwise.
template <class Child>
void ObjDumpChild(const Child* child, const DumpContextPtr& context, unsigned indent) {
    detail::objDumpChild(
        child,
        [](const Zin::PtrInterface& object, const DumpContextPtr& to, unsigned at) {
            static_cast<const Child&>(object).dumpState(to, at);
        },
        context,
        indent);
}

// A VLAN tag (IEEE 802.1Q): "none" for 0, "any" for 4095, else the number.
ZIN_EXPORT Zin::String vidString(std::uint16_t tag);

}  // namespace Quib
