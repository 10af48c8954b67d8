# cmake -DNM=<nm> -DLIBRARY=<file> -DEXPORTS=<regular expression> -DCOUNT=<n> -P check_exports.cmake
#
# Fails unless the library exports exactly COUNT symbols, each of which matches EXPORTS as a whole.

execute_process(
  COMMAND "${NM}" -D --defined-only "${LIBRARY}"
  OUTPUT_VARIABLE symbols
  OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" symbols "${symbols}")

list(LENGTH symbols count)
if(NOT count EQUAL COUNT)
  message(FATAL_ERROR "${LIBRARY} exports ${count} symbols instead of ${COUNT}: ${symbols}")
endif()
foreach(symbol IN LISTS symbols)
  if(NOT symbol MATCHES "^[0-9a-f]+ [A-Za-z] (${EXPORTS})$")
    message(FATAL_ERROR "${LIBRARY} exports \"${symbol}\", expected ${EXPORTS}")
  endif()
endforeach()
