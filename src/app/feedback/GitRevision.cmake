# Writes BuildInfo.h with the version, the git revision of the sources and the support address.
# Runs at every build, and rewrites the file only when a value changed, so that a new commit
# rebuilds the one file that shows it and nothing else.
set(revision "")
find_package(Git QUIET)
if(GIT_FOUND)
    execute_process(COMMAND ${GIT_EXECUTABLE} -C ${SOURCE_DIR} rev-parse --short=12 HEAD
                    OUTPUT_VARIABLE revision OUTPUT_STRIP_TRAILING_WHITESPACE
                    RESULT_VARIABLE result ERROR_QUIET)
    if(NOT result EQUAL 0)
        set(revision "")
    endif()
endif()
if(revision STREQUAL "")
    set(revision "?")
endif()
set(content "#pragma once\n// Made by GitRevision.cmake at build time.\n#define VELDRIN_VERSION \"${VERSION}\"\n#define VELDRIN_REVISION \"${revision}\"\n#define VELDRIN_SUPPORT_ADDRESS \"${SUPPORT_ADDRESS}\"\n")
if(EXISTS ${OUTPUT})
    file(READ ${OUTPUT} old)
endif()
if(NOT "${old}" STREQUAL "${content}")
    file(WRITE ${OUTPUT} "${content}")
endif()
