option(BUILD_TESTING "Build the tests and, for them, the demo" ON)
option(QUILLO_BUILD_DEMO "Build the demo also where no tests are built" OFF)
set(QUILLO_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

get_property(quillo_has_configurations GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(NOT quillo_has_configurations AND NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "What to build for: Release, Debug, ..." FORCE)
endif()

# What every file of ours is compiled with.
add_library(quillo_options INTERFACE)
target_compile_options(quillo_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
target_compile_definitions(quillo_options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_KEYWORDS
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_URL_CAST_FROM_STRING
    QT_STRICT_ITERATORS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)

if(QUILLO_SANITIZE)
    target_compile_options(quillo_options INTERFACE
        -fsanitize=${QUILLO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(quillo_options INTERFACE -fsanitize=${QUILLO_SANITIZE})
endif()
