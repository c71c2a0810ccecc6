include(GNUInstallDirs)
install(TARGETS hearthix-mysensors RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
