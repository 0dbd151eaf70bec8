# Runs a test program (PROGRAM) and fails when it writes anything on standard error: the
# library's reports belong in the editor's findings panel, and whatever else arrives there
# is a complaint of Qt's worth a look.
execute_process(COMMAND "${PROGRAM}" RESULT_VARIABLE result ERROR_VARIABLE errors)
if(NOT errors STREQUAL "")
  message(FATAL_ERROR "standard error was not empty:\n${errors}")
endif()
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ended with ${result}")
endif()
