# Installs BUILD into WORK/prefix, then builds and runs the consumer against it, twice: by find_package and
# by pkg-config.

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\n${output}\nresult ${result}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
set(prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build -G Ninja -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${WORK}/build/consumer)

file(GLOB_RECURSE pc ${prefix}/*/mw-misc.pc)
get_filename_component(pcdir ${pc} DIRECTORY)
get_filename_component(libdir ${pcdir} DIRECTORY)
execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pcdir} pkg-config --define-prefix --cflags --libs mw-misc
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${CXX} ${SOURCE}/main.cpp -o ${WORK}/by-pkg-config ${flags} -Wl,-rpath,${libdir})
run(${WORK}/by-pkg-config)
