// EXPECT: This type has no wire form: give it a schema().
#include "Zin/NboAttrLogIn.h"

struct Opaque {
    void* handle = nullptr;
};

std::size_t size(const Opaque& value) {
    return Zin::NboAttrLog::attrLogSize(value);
}
