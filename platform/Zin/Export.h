// Marks what leaves the shared library; everything else stays hidden.

#pragma once

#define ZIN_EXPORT __attribute__((visibility("default")))
