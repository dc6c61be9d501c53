# What every target of the house shares: language level, warnings, sanitizers, exports.

option(KIV_WARNINGS_ARE_ERRORS "Stop at the first warning" OFF)
set(KIV_SANITIZE "" CACHE STRING "Value of -fsanitize for everything built here")

# The oldest processors of the build; empty leaves it to the compiler. Every x86-64 processor that was made since 2013 has
# this level, most since 2009; the search for sets of bytes is quick by its shuffles and does without them.
set(march "")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
    set(march x86-64-v2)
endif()
set(KIV_MARCH "${march}" CACHE STRING "Value of -march for everything built here")

# One folder for programs and libraries, so that Windows finds the libraries beside the programs.
if(PROJECT_IS_TOP_LEVEL)
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    if(NOT WIN32)
        set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    endif()
endif()

if(KIV_SANITIZE)
    add_compile_options(-fsanitize=${KIV_SANITIZE} -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KIV_SANITIZE})
endif()

# kiv_options(TARGET): C++20 without extensions, the house's warnings, symbols hidden unless exported.
function(kiv_options target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor)
    # GCC 12 sees overlapping copies in plain string concatenations (its bug 105651).
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
    if(KIV_MARCH)
        target_compile_options(${target} PRIVATE -march=${KIV_MARCH})
    endif()
    if(KIV_WARNINGS_ARE_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

# kiv_export(TARGET PREFIX FILE): a generated header with PREFIX_EXPORT for classes and functions of the shared
# library's interface and PREFIX_TYPE for types that are defined in headers and recognised across its boundary.
function(kiv_export target prefix file)
    set(type_macro "
#if defined(_WIN32)
#  define ${prefix}_TYPE
#else
#  define ${prefix}_TYPE __attribute__((visibility(\"default\")))
#endif
")
    generate_export_header(${target}
        BASE_NAME ${prefix}
        EXPORT_FILE_NAME ${PROJECT_BINARY_DIR}/generated/${file}
        CUSTOM_CONTENT_FROM_VARIABLE type_macro)
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/generated>)
endfunction()

# Header-only dependencies are found by one path each and seen through links, because the rest of the
# system's header folder must not reach a cross compiler.
function(kiv_foreign_headers target)
    set(links ${PROJECT_BINARY_DIR}/foreign)
    foreach(package IN LISTS ARGN)
        find_path(KIV_${package}_DIR NAMES ${package} NO_CMAKE_FIND_ROOT_PATH REQUIRED)
        file(MAKE_DIRECTORY ${links})
        file(CREATE_LINK ${KIV_${package}_DIR}/${package} ${links}/${package} SYMBOLIC)
    endforeach()
    target_include_directories(${target} SYSTEM PRIVATE ${links})
endfunction()
