# Fails unless LIBRARY exports the five functions and nothing else, and has the right SONAME.
execute_process(COMMAND "${NM}" -D --defined-only --format=posix "${LIBRARY}"
    OUTPUT_VARIABLE lines RESULT_VARIABLE status)
string(REGEX MATCHALL "[A-Za-z_0-9]+@@?TVFRAMEWORK_3 [A-Z]" symbols "${lines}")
string(REGEX REPLACE "[^\n]" "" breaks "${lines}")
string(LENGTH "${breaks}" count)
set(expected tvApplyVariables tvDeletePrefsItem tvReadRegInfoFromNWC tvReadRegInfoFromPrefs
    tvWriteRegInfo)
list(TRANSFORM expected APPEND "@@TVFRAMEWORK_3 T")
list(SORT symbols)
# Beside the functions there is one line for the version itself.
if(NOT status EQUAL 0 OR NOT symbols STREQUAL expected OR NOT count EQUAL 6)
    message(FATAL_ERROR "exported symbols differ:\n${lines}")
endif()
