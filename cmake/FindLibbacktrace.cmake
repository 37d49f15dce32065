# libbacktrace comes with GCC: its header stands in g++'s own include folder, where clang does not look,
# and its archive in g++'s library folder. The archive is linked without exporting its symbols.

find_program(GXX_PROGRAM NAMES g++ g++-12 REQUIRED)
execute_process(COMMAND ${GXX_PROGRAM} -print-file-name=libbacktrace.a
                OUTPUT_VARIABLE backtrace_archive OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${GXX_PROGRAM} -print-file-name=include
                OUTPUT_VARIABLE backtrace_include OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT EXISTS ${backtrace_archive} OR NOT EXISTS ${backtrace_include}/backtrace.h)
    message(FATAL_ERROR "libbacktrace not found beside ${GXX_PROGRAM}; it comes with Debian's g++")
endif()

# The header alone, in a folder of its own: g++'s other headers are not for clang.
file(COPY ${backtrace_include}/backtrace.h ${backtrace_include}/backtrace-supported.h
     DESTINATION ${CMAKE_BINARY_DIR}/libbacktrace)
add_library(libbacktrace INTERFACE)
target_include_directories(libbacktrace SYSTEM INTERFACE $<BUILD_INTERFACE:${CMAKE_BINARY_DIR}/libbacktrace>)
target_link_libraries(libbacktrace INTERFACE $<BUILD_INTERFACE:${backtrace_archive}>)
target_link_options(libbacktrace INTERFACE $<BUILD_INTERFACE:-Wl,--exclude-libs,libbacktrace.a>)
