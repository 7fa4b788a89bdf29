# Linked privately by every target of ours, and by none of others.
add_library(corra_warnings INTERFACE)
target_compile_options(corra_warnings INTERFACE -Wall -Wextra -Wconversion -Wshadow -Werror)
