// EXPECT: private
#include "Pseudowire/PwRunnability.h"

// Entities are made by factories, which report the allocation and count the first reference.
void make() {
    Pseudowire::Runnability runnability({}, "r");
}
