# Compares the picture in DOCUMENT with the one that the build drew into GRAPH. With -DWRITE=ON it
# puts the drawn one into the document instead.
#
#   cmake -DGRAPH=build/dev/folders.mmd -DDOCUMENT=docs/architecture.md -DWRITE=ON \
#       -P cmake/CompareFolderGraph.cmake
file(READ "${GRAPH}" drawn)
file(READ "${DOCUMENT}" text)
string(FIND "${text}" "```mermaid\n" begin)
if(begin EQUAL -1)
    message(FATAL_ERROR "${DOCUMENT}: there is no picture in it (a block that begins with ```mermaid)")
endif()
string(SUBSTRING "${text}" 0 ${begin} before)
string(SUBSTRING "${text}" ${begin} -1 rest)
string(FIND "${rest}" "\n```\n" end)
math(EXPR end "${end} + 5")
string(SUBSTRING "${rest}" 0 ${end} shown)
string(SUBSTRING "${rest}" ${end} -1 after)
if(WRITE)
    file(WRITE "${DOCUMENT}" "${before}${drawn}${after}")
elseif(NOT shown STREQUAL drawn)
    message(FATAL_ERROR "${DOCUMENT}: its picture of the folders is not the build's. Put the build's "
        "there with -DWRITE=ON (see ${CMAKE_CURRENT_LIST_FILE}):\n${drawn}")
endif()
