# Finds the headers of Highway, in its package or in the usual places: TESSELU_HIGHWAY_INCLUDE_DIR. Its libraries are
# not linked, since simd/Targets does what they would do at run time.
if(NOT TARGET hwy::hwy AND NOT TARGET hwy)
    find_package(hwy CONFIG QUIET)
endif()

block()
    set(minimum 1.0.3)

    # A host may bring Highway along; its directories then stand in generator expressions.
    set(directories)
    foreach(target hwy::hwy hwy)
        if(TARGET ${target})
            get_target_property(directories ${target} INTERFACE_INCLUDE_DIRECTORIES)
            string(REGEX REPLACE "\\$<BUILD_INTERFACE:([^>]*)>" "\\1" directories "${directories}")
            string(GENEX_STRIP "${directories}" directories)
            break()
        endif()
    endforeach()
    find_path(TESSELU_HIGHWAY_INCLUDE_DIR hwy/highway.h DOC "Where hwy/highway.h lies"
        PATHS ${directories} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    find_path(TESSELU_HIGHWAY_INCLUDE_DIR hwy/highway.h)
    mark_as_advanced(TESSELU_HIGHWAY_INCLUDE_DIR)

    string(CONCAT advice "On Debian and Ubuntu they are in the package libhwy-dev; elsewhere, CMAKE_PREFIX_PATH or "
        "TESSELU_HIGHWAY_INCLUDE_DIR may say where they are.")
    if(NOT TESSELU_HIGHWAY_INCLUDE_DIR)
        message(FATAL_ERROR "The headers of Highway, version ${minimum} or later, were not found. ${advice}")
    endif()

    # The numbers moved from highway.h to base.h.
    set(lines)
    foreach(header base.h highway.h)
        if(EXISTS ${TESSELU_HIGHWAY_INCLUDE_DIR}/hwy/${header})
            file(STRINGS ${TESSELU_HIGHWAY_INCLUDE_DIR}/hwy/${header} found
                REGEX "^#define HWY_(MAJOR|MINOR|PATCH) +[0-9]+")
            list(APPEND lines ${found})
        endif()
    endforeach()
    set(version)
    foreach(part MAJOR MINOR PATCH)
        string(REGEX MATCH "HWY_${part} +([0-9]+)" number "${lines}")
        string(APPEND version .${CMAKE_MATCH_1})
    endforeach()
    string(SUBSTRING ${version} 1 -1 version)
    if(NOT version VERSION_GREATER_EQUAL minimum)
        message(FATAL_ERROR "The headers of Highway in ${TESSELU_HIGHWAY_INCLUDE_DIR} are of version ${version}; "
            "${minimum} or later is needed. ${advice}")
    endif()
    message(STATUS "Highway ${version}: ${TESSELU_HIGHWAY_INCLUDE_DIR}")
endblock()
