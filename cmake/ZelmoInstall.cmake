# Install rules of what is shared by all: headers. Targets install themselves where they are made.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zelmo DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/genicam/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/genicam)
