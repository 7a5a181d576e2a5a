# The asan and tsan presets instrument every target, tests included.
if(TORVIK_SANITIZE)
    add_compile_options(-fsanitize=${TORVIK_SANITIZE} -fno-omit-frame-pointer -g)
    add_link_options(-fsanitize=${TORVIK_SANITIZE})
    if(TORVIK_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
endif()
# Fuzzers steer by the coverage of everything they link.
if(TORVIK_BUILD_FUZZERS)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
