# The conformance suite proves the companion library's codec only if no
# JSON of the runtime answers in its place: fails when one of BINARIES
# calls the runtime's JSON functions (util::JsonStringToMessage,
# MessageToJsonString, JsonToBinaryString, BinaryToJsonString, ...).
# cmake -DNM=<nm> "-DBINARIES=<file>;..." -P no_runtime_json.cmake
foreach(binary IN LISTS BINARIES)
  execute_process(COMMAND ${NM} -C -u ${binary} OUTPUT_VARIABLE symbols RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "nm failed on ${binary}")
  endif()
  string(REGEX MATCHALL "google::protobuf::util::[A-Za-z]*Json[A-Za-z]*" calls "${symbols}")
  if(calls)
    list(REMOVE_DUPLICATES calls)
    message(FATAL_ERROR "${binary} calls the runtime's JSON (${calls}): "
                        "its answers would not be the codec's")
  endif()
endforeach()
