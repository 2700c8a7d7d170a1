# Installs the build in ${BUILD} into the empty folder ${PACKAGE} and makes ${SAMPLE}, a tenth of a second of a tone.
file(REMOVE_RECURSE ${PACKAGE})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PACKAGE} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND sox -n -r 44100 -c 2 -b 16 ${SAMPLE} synth 0.1 sine 440
  COMMAND_ERROR_IS_FATAL ANY)
