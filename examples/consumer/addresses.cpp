// Prints each address that is named once, in order, by the platform layer alone; without any,
// the modules that the program holds.

#include <cstddef>
#include <exception>
#include <iostream>
#include <set>
#include <span>

#include "Vorn/IpGenAddr.h"
#include "Zin/Module.h"

int main(int argc, char** argv) try {
    if (argc == 1) {
        Zin::forEachModule([](const Zin::ZinModule& module) {
            std::cout << module.name << ": " << module.types.size() << " types\n";
        });
    }
    std::set<Vorn::IpGenAddr> addresses;
    for (const char* const text : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        addresses.insert(Vorn::IpGenAddr::fromStringValue(text));
    }
    for (const auto& address : addresses) std::cout << address.stringValue().view() << '\n';
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 2;
}
