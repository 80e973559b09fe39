# ctest: a program prints what README.md shows it printing.
# cmake -DPROGRAM=... [-DARGS=...] -DREADME=... -DSHOWN_AS="$ path/of/program" -P readme_output.cmake
# README.md shows the output in a code block, on the lines after one that
# reads SHOWN_AS and up to the block's end.
execute_process(COMMAND "${PROGRAM}" ${ARGS} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} exited with ${rc}:\n${out}${err}")
endif()
file(READ "${README}" readme)
string(FIND "${readme}" "\n${SHOWN_AS}\n" at)
if(at EQUAL -1)
  message(FATAL_ERROR "${README} has no line \"${SHOWN_AS}\" followed by the program's output; "
                      "add it to the README's code block:\n${SHOWN_AS}\n${out}")
endif()
string(LENGTH "\n${SHOWN_AS}\n" skip)
math(EXPR start "${at} + ${skip}")
string(SUBSTRING "${readme}" ${start} -1 rest)
string(FIND "${rest}" "```" end)
if(end EQUAL -1)
  message(FATAL_ERROR "${README}: the code block after \"${SHOWN_AS}\" is not closed")
endif()
string(SUBSTRING "${rest}" 0 ${end} shown)
if(NOT shown STREQUAL out)
  message(FATAL_ERROR "${README} shows other output after \"${SHOWN_AS}\" than the program prints; "
                      "the block should read:\n${SHOWN_AS}\n${out}\nREADME.md shows:\n${shown}")
endif()
message(STATUS "${README} shows what ${PROGRAM} prints")
