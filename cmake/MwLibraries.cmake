# The three libraries. A new module is a pair of files in its folder: nothing is listed here by name.

find_package(Threads REQUIRED)
find_package(ZLIB REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(UUID REQUIRED IMPORTED_TARGET uuid)
pkg_check_modules(SQLITE REQUIRED IMPORTED_TARGET sqlite3)
include(cmake/FindLibbacktrace.cmake)

function(mw_library target export_define)
    add_library(${target} SHARED ${ARGN})
    add_library(Mw::${target} ALIAS ${target})
    target_compile_definitions(${target} PRIVATE ${export_define})
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>
        $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/platform>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/mw-14>)
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
    set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                                               INSTALL_RPATH "$ORIGIN")
endfunction()

file(GLOB os_sources CONFIGURE_DEPENDS Mw/*.cpp platform/OS/*.cpp platform/OS/linux/*.cpp platform/OS/testing/*.cpp)
mw_library(OS OS_BUILDING ${os_sources})
target_link_libraries(OS PUBLIC Threads::Threads PRIVATE PkgConfig::SQLITE libbacktrace)

file(GLOB libmw_sources CONFIGURE_DEPENDS platform/libmw/*.cpp)
mw_library(mw LIBMW_BUILDING ${libmw_sources})
target_link_libraries(mw PUBLIC OS PRIVATE PkgConfig::UUID)

file(GLOB misc_sources CONFIGURE_DEPENDS misc/*/*.cpp)
mw_library(misc MISC_BUILDING ${misc_sources})
target_link_libraries(misc PUBLIC mw PRIVATE ZLIB::ZLIB)

# Sanitizer builds look for undefined symbols in the program, not in the library.
if(MW_SANITIZE OR MW_FUZZ)
    foreach(target OS mw misc)
        set_property(TARGET ${target} PROPERTY LINK_OPTIONS "")
    endforeach()
endif()
