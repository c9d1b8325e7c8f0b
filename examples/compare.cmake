# Runs PROGRAM, which must succeed and print exactly what the file EXPECTED holds.
set(actual ${PROGRAM}.out)
execute_process(COMMAND ${PROGRAM} OUTPUT_FILE ${actual} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(SEND_ERROR "${PROGRAM} ended with ${status}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${EXPECTED} ${actual}
  RESULT_VARIABLE different)
if(different)
  execute_process(COMMAND diff -u ${EXPECTED} ${actual})
  message(SEND_ERROR "${PROGRAM} prints something else than ${EXPECTED}")
endif()
