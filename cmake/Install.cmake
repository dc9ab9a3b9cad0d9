# `cmake --install`: the program and what belongs to it. The demo and the tests stay where they are.
include(GNUInstallDirs)

install(TARGETS quillo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES packaging/icons/quillo.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES LICENSE README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
