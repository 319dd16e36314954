# Read by cpack before it builds the package: adds the WebEngine helper
# process to the dependencies when the program links WebEngine.
include(${CPACK_GLEANMARK_PROGRAM_FILE})
execute_process(COMMAND objdump -p ${GLEANMARK_PROGRAM} OUTPUT_VARIABLE needed)
if(needed MATCHES "NEEDED +libQt6WebEngineCore")
  string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", libqt6webenginecore6-bin")
endif()
