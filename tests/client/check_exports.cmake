# Lists the dynamic symbols that libvelkport.so defines and fails unless they
# are exactly the velk_ functions of the header, each in the version node of the
# release that added it: no C++ symbol, no instantiation of the standard
# library, nothing of the internal layers.
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
    # The version nodes themselves show as absolute symbols.
    if(kind STREQUAL "A")
      continue()
    endif()
    if(NOT kind STREQUAL "T")
      message(FATAL_ERROR "exported symbol that is not a function: ${line}")
    endif()
    list(APPEND found ${name})
  endif()
endforeach()
list(SORT found)
set(expected "")
foreach(name BeginThread CancelCurrentAction EndThread GetAnimData GetAnimInfo GetMidData
        GetMidInfo ReadAnim ReadAnimInfo ReadMid ReadMidInfo SetPortDevice WriteAnim WriteMid)
  list(APPEND expected velk_${name}@@VELKPORT_1)
endforeach()
foreach(name EnableNotices GetCommandResult GetLastError GetNotices GetVersion RunCommand
        RunCommandWithBody RunCommands)
  list(APPEND expected velk_${name}@@VELKPORT_1.1)
endforeach()
list(SORT expected)
if(NOT found STREQUAL expected)
  message(FATAL_ERROR "exported: ${found}\nexpected: ${expected}")
endif()
