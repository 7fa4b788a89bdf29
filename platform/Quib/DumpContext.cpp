#include "Quib/DumpContext.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "Zin/Format.h"

namespace Quib {

namespace {

void writeTo(const DumpContextPtr& context, std::string_view text) {
    if (context) {
        context->write(text);
    } else {
        std::fwrite(text.data(), 1, text.size(), stdout);
    }
}

}  // namespace

constinit Zin::AllocTrackTypeInfo DumpContext::zinAllocTrackTypeInfo_;

DumpContext::DumpContext(Sink sink, AfterChild after) : sink_(std::move(sink)), after_(after) {}

DumpContextPtr DumpContext::make(Sink sink, AfterChild after) {
    zinAllocTrackTypeInfo_.trackAllocation(typeid(DumpContext), sizeof(DumpContext));
    try {
        return DumpContextPtr(new (zinMemAlloc(sizeof(DumpContext)))
                                  DumpContext(std::move(sink), after));
    } catch (...) {
        zinAllocTrackTypeInfo_.trackDeallocation(typeid(DumpContext), sizeof(DumpContext));
        throw;
    }
}

DumpContextPtr DumpContext::make(std::string& text, AfterChild after) {
    return make([&text](std::string_view more) { text += more; }, after);
}

void DumpContext::operator delete(DumpContext* object, std::destroying_delete_t) {
    object->~DumpContext();
    zinMemFree(object, sizeof(DumpContext));
    zinAllocTrackTypeInfo_.trackDeallocation(typeid(DumpContext), sizeof(DumpContext));
}

void DumpContext::write(std::string_view text) const {
    sink_(text);
    line_ += static_cast<std::uint32_t>(std::count(text.begin(), text.end(), '\n'));
}

void DumpContext::markObject(const Zin::PtrInterface* object) const {
    lineOf_.emplace(object, line_);
}

bool DumpContext::isDumped(const Zin::PtrInterface* object) const {
    return lineOf_.contains(object);
}

std::uint32_t DumpContext::getDumpLineForObj(const Zin::PtrInterface* object) const {
    const auto at = lineOf_.find(object);
    return at == lineOf_.end() ? 0 : at->second;
}

void objDumpPrintf(const DumpContextPtr& context, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text;
    Zin::appendFormat(text, format, arguments);
    va_end(arguments);
    writeTo(context, text);
}

void objDumpLineV(
    const DumpContextPtr& context,
    unsigned indent,
    const char* format,
    std::va_list arguments) {
    std::string text(indent, ' ');
    Zin::appendFormat(text, format, arguments);
    writeTo(context, text += '\n');
}

void objDumpLine(const DumpContextPtr& context, unsigned indent, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    objDumpLineV(context, indent, format, arguments);
    va_end(arguments);
}

Zin::String objDumpSanitizeTypeName(const char* typeInfoName) {
    const char* const mangled = typeInfoName + (*typeInfoName == '*');
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status),
        &std::free);
    std::string name = demangled ? demangled.get() : mangled;
    constexpr std::string_view unnamed = "(anonymous namespace)::";
    for (std::size_t at; (at = name.find(unnamed)) != std::string::npos;) {
        name.erase(at, unnamed.size());
    }
    return name;
}

namespace detail {

void objDumpChild(
    const Zin::PtrInterface* child,
    DumpState dumpState,
    const DumpContextPtr& context,
    unsigned indent) {
    if (!child) {
        objDumpLine(context, indent, "NULL");
        return;
    }
    if (context && context->isDumped(child)) {
        objDumpLine(
            context,
            indent,
            "%s dumped at line %u",
            objDumpTypeName(child).c_str(),
            context->getDumpLineForObj(child));
        return;
    }
    if (context) context->markObject(child);
    dumpState(*child, context, indent);
    if (context && context->afterChild() == DumpContext::AfterChild::blankLine) {
        objDumpPrintf(context, "\n");
    }
}

}  // namespace detail

Zin::String vidString(std::uint16_t tag) {
    if (tag == 0) return "none";
    if (tag == 4095) return "any";
    return std::to_string(tag);
}

}  // namespace Quib
