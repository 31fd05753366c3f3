# Lists the dynamic symbols that libvelkport.so defines and fails unless they
# are exactly the fourteen velk_ functions: no C++ symbol, no instantiation of
# the standard library, nothing of the internal layers.
execute_process(COMMAND nm -D --defined-only ${LIBRARY}
                OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
string(REPLACE "\n" ";" lines "${listing}")
set(found "")
foreach(line IN LISTS lines)
  if(line MATCHES "^[0-9a-fA-F]+ ([A-Za-z]) (.+)$")
    set(kind ${CMAKE_MATCH_1})
    set(name ${CMAKE_MATCH_2})
    # The version node itself shows as an absolute symbol.
    if(kind STREQUAL "A")
      continue()
    endif()
    if(NOT kind STREQUAL "T")
      message(FATAL_ERROR "exported symbol that is not a function: ${line}")
    endif()
    string(REGEX REPLACE "@.*$" "" name "${name}")
    list(APPEND found ${name})
  endif()
endforeach()
list(SORT found)
set(expected
  velk_BeginThread velk_CancelCurrentAction velk_EndThread velk_GetAnimData
  velk_GetAnimInfo velk_GetMidData velk_GetMidInfo velk_ReadAnim velk_ReadAnimInfo
  velk_ReadMid velk_ReadMidInfo velk_SetPortDevice velk_WriteAnim velk_WriteMid)
list(SORT expected)
if(NOT found STREQUAL expected)
  message(FATAL_ERROR "exported: ${found}\nexpected: ${expected}")
endif()
