# Warnings of the project's own code; link to it privately.
add_library(torvik_warnings INTERFACE)
target_compile_options(torvik_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
