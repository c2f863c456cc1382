# Runs FUZZER for RUNS executions on a copy of SEEDS in WORK; fails on any finding.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/corpus ${WORK}/artifacts)
file(GLOB seeds ${SEEDS}/*)
if(seeds)
  file(COPY ${seeds} DESTINATION ${WORK}/corpus)
endif()
execute_process(COMMAND ${FUZZER} -runs=${RUNS} -max_len=8192 -rss_limit_mb=2048 -timeout=10
                        -artifact_prefix=${WORK}/artifacts/ ${WORK}/corpus
                RESULT_VARIABLE result ERROR_VARIABLE log)
string(REGEX MATCH "Done [0-9]+ runs[^\n]*" done "${log}")
message(STATUS "${done}")
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${FUZZER} found a failure (exit ${result}):\n${log}")
endif()
