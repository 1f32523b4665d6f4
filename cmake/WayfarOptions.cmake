# One interface target for every flag, so that a target cannot forget one.
add_library(wayfar_options INTERFACE)
target_compile_features(wayfar_options INTERFACE cxx_std_20)
target_include_directories(wayfar_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(wayfar_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    -Woverloaded-virtual)
# From Qt 6.8 on, the macros by which tests wait convert times themselves.
if(Qt6_VERSION VERSION_GREATER_EQUAL 6.8)
    target_compile_options(wayfar_options INTERFACE
        $<$<NOT:$<BOOL:$<TARGET_PROPERTY:WAYFAR_WAITS_BY_QT>>>:-Wconversion>)
else()
    target_compile_options(wayfar_options INTERFACE -Wconversion)
endif()
# For libraries and programs alike: a precompiled header serves only those that were compiled as it was.
target_compile_options(wayfar_options INTERFACE -fPIC)
target_compile_options(wayfar_options INTERFACE -ffile-prefix-map=${CMAKE_SOURCE_DIR}=.) # the same bytes anywhere
target_compile_definitions(wayfar_options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_CONTEXTLESS_CONNECT # takes effect from Qt 6.7
    QT_NO_FOREACH
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
if(WAYFAR_SANITIZE)
    target_compile_options(wayfar_options INTERFACE -fsanitize=${WAYFAR_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(wayfar_options INTERFACE -fsanitize=${WAYFAR_SANITIZE})
endif()

set(CMAKE_CXX_EXTENSIONS OFF)

find_program(CCACHE ccache NO_CACHE) # it may be removed later
if(CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

target_link_options(wayfar_options INTERFACE -Wl,--as-needed)

# The precompiled headers: for what has no window, and for what has.
function(wayfar_precompiled_headers name module)
    file(WRITE ${CMAKE_BINARY_DIR}/generated/${name}.cpp "")
    add_library(${name} OBJECT ${CMAKE_BINARY_DIR}/generated/${name}.cpp)
    target_link_libraries(${name} PRIVATE wayfar_options Qt6::${module})
    target_precompile_headers(${name} PRIVATE <Qt${module}> <functional> <memory> <optional>)
    set_target_properties(${name} PROPERTIES AUTOMOC OFF AUTOUIC OFF AUTORCC OFF)
endfunction()

# wayfar_library(NAME [WINDOWED] SOURCES... LINK libraries...): one folder, one library.
function(wayfar_library name)
    cmake_parse_arguments(arg "WINDOWED" "" "LINK" ${ARGN})
    add_library(${name} STATIC ${arg_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PUBLIC wayfar_options ${arg_LINK})
    if(arg_WINDOWED)
        target_precompile_headers(${name} REUSE_FROM wayfar_windowed_headers)
    else()
        target_precompile_headers(${name} REUSE_FROM wayfar_plain_headers)
    endif()
endfunction()
