# The installed package: libraries, headers, find_package(Mw) and pkg-config files.

include(CMakePackageConfigHelpers)

set(headers_to ${CMAKE_INSTALL_INCLUDEDIR}/mw-14)
set(package_to ${CMAKE_INSTALL_LIBDIR}/cmake/Mw)

install(TARGETS OS mw misc EXPORT MwTargets)
install(DIRECTORY Mw misc DESTINATION ${headers_to} FILES_MATCHING PATTERN "*.h" PATTERN "*.inl")
install(DIRECTORY platform/OS platform/libmw DESTINATION ${headers_to} FILES_MATCHING PATTERN "*.h"
        PATTERN linux EXCLUDE)
install(EXPORT MwTargets NAMESPACE Mw:: DESTINATION ${package_to})

configure_package_config_file(cmake/MwConfig.cmake.in ${CMAKE_BINARY_DIR}/MwConfig.cmake INSTALL_DESTINATION ${package_to})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/MwConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/MwConfig.cmake ${CMAKE_BINARY_DIR}/MwConfigVersion.cmake DESTINATION ${package_to})

# pkg-config: one file per library; libmisc brings the two underneath.
function(mw_pkgconfig file library description requires)
    set(PC_NAME ${library})
    set(PC_DESCRIPTION ${description})
    set(PC_REQUIRES ${requires})
    configure_file(cmake/library.pc.in ${CMAKE_BINARY_DIR}/${file}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${file}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
mw_pkgconfig(mw-os OS "Operating-system layer" "")
mw_pkgconfig(mw-companion mw "Locks, shutdown callbacks, UUIDs and text conversions" mw-os)
mw_pkgconfig(mw-misc misc "Foundation library of the editing application" mw-companion)
