# What a host gets: the headers, the libraries, and two ways to find them (find_package and pkg-config).
include(CMakePackageConfigHelpers)

install(DIRECTORY include/TesselU DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT Development
    FILES_MATCHING PATTERN "*.h")

list(TRANSFORM TESSELU_KINDS PREPEND tesselu_ OUTPUT_VARIABLE TESSELU_LIBRARIES)
install(TARGETS ${TESSELU_LIBRARIES} EXPORT TesselUTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)

set(TESSELU_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/TesselU)
install(EXPORT TesselUTargets NAMESPACE TesselU:: DESTINATION ${TESSELU_CMAKE_DIR} COMPONENT Development)

configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/TesselUConfig.cmake.in
    ${PROJECT_BINARY_DIR}/TesselUConfig.cmake
    INSTALL_DESTINATION ${TESSELU_CMAKE_DIR})
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/TesselUConfigVersion.cmake
    COMPATIBILITY ${TESSELU_COMPATIBILITY})
install(FILES
    ${PROJECT_BINARY_DIR}/TesselUConfig.cmake
    ${PROJECT_BINARY_DIR}/TesselUConfigVersion.cmake
    DESTINATION ${TESSELU_CMAKE_DIR} COMPONENT Development)

# The .pc file finds its prefix from where it lies, so a moved installation still works.
cmake_path(SET TESSELU_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${TESSELU_PC_DIR} OUTPUT_VARIABLE TESSELU_PC_TO_PREFIX)
# The static library leaves the C++ library and threads to whoever links it.
set(TESSELU_PC_LIBS_PRIVATE ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(FILTER TESSELU_PC_LIBS_PRIVATE INCLUDE REGEX "^(stdc\\+\\+|c\\+\\+|m)$")
list(TRANSFORM TESSELU_PC_LIBS_PRIVATE PREPEND -l)
list(APPEND TESSELU_PC_LIBS_PRIVATE ${CMAKE_THREAD_LIBS_INIT})
list(JOIN TESSELU_PC_LIBS_PRIVATE " " TESSELU_PC_LIBS_PRIVATE)
set(TESSELU_PC_LIBS -lTesselU)
set(TESSELU_PC_CFLAGS)
if(NOT shared IN_LIST TESSELU_KINDS)
    get_target_property(TESSELU_PC_LIBS tesselu_static OUTPUT_NAME)
    set(TESSELU_PC_LIBS "-l${TESSELU_PC_LIBS} ${TESSELU_PC_LIBS_PRIVATE}")
    set(TESSELU_PC_CFLAGS -DTESSELU_STATIC)
endif()
configure_file(cmake/TesselU.pc.in ${PROJECT_BINARY_DIR}/TesselU.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/TesselU.pc DESTINATION ${TESSELU_PC_DIR} COMPONENT Development)
