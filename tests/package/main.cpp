#include <iostream>

#include "AllHeaders.h"

// Something that only the shared library can answer.
int main() {
    const Zin::String greeting("installed");
    std::cout << greeting.view() << '\n';
}
