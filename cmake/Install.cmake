# What is installed, and the two Debian packages made of it: the driver, which needs no more than the C and C++
# libraries, and the tools. script/package calls CPack with a fixed time, so that the same sources make the same bytes.
include(GNUInstallDirs)
set(HEARTHIX_CONTACT "hearthix-mysensors maintainers <maintainers@hearthix-mysensors.invalid>" CACHE STRING
  "Whom the packages name as their maintainer: NAME <ADDRESS>")
set(debian_docs ${CMAKE_INSTALL_DATAROOTDIR}/doc)

# install_compressed(COMPONENT FILE NAME FOLDER): FILE as FOLDER/NAME.gz.
function(install_compressed component file name folder)
  set(compressed ${CMAKE_BINARY_DIR}/compressed/${component}/${name}.gz)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/compressed/${component})
  execute_process(COMMAND gzip -9cn ${file} OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  install(FILES ${compressed} DESTINATION ${folder} COMPONENT ${component})
endfunction()

# package(COMPONENT NAME): what every Debian package holds, and what CPack must know.
function(package component name)
  configure_file(packaging/changelog.in ${CMAKE_BINARY_DIR}/changelog @ONLY)
  install_compressed(${component} ${CMAKE_BINARY_DIR}/changelog changelog ${debian_docs}/${name})
  install(FILES packaging/copyright DESTINATION ${debian_docs}/${name} COMPONENT ${component})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_FILE_NAME DEB-DEFAULT PARENT_SCOPE)
endfunction()

install(TARGETS hearthix-mysensors RUNTIME COMPONENT driver)
install_compressed(driver ${CMAKE_SOURCE_DIR}/docs/man/hearthix-mysensors.1 hearthix-mysensors.1 ${CMAKE_INSTALL_MANDIR}/man1)
# As they stand here, so that the links among them hold.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION ${debian_docs}/hearthix-mysensors COMPONENT driver)
install(DIRECTORY docs DESTINATION ${debian_docs}/hearthix-mysensors COMPONENT driver
  FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN man EXCLUDE)
package(driver hearthix-mysensors)
set(CPACK_COMPONENTS_ALL driver)

if(HEARTHIX_TOOLS)
  install(TARGETS hearthix-sim kbdb hearthix-gateway-mqtt RUNTIME COMPONENT tools)
  foreach(program hearthix-sim kbdb hearthix-gateway-mqtt)
    install_compressed(tools ${CMAKE_SOURCE_DIR}/docs/man/${program}.1 ${program}.1 ${CMAKE_INSTALL_MANDIR}/man1)
  endforeach()
  set(completions ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES sim/completion/hearthix-sim.bash RENAME hearthix-sim DESTINATION ${completions} COMPONENT tools)
  install(FILES tools/completion/kbdb.bash RENAME kbdb DESTINATION ${completions} COMPONENT tools)
  install(FILES packaging/completion.zsh RENAME _hearthix-mysensors-tools
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tools)
  foreach(program hearthix-sim kbdb)
    install(FILES packaging/completion.fish RENAME ${program}.fish
      DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tools)
  endforeach()
  package(tools hearthix-mysensors-tools)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_CONTACT "${HEARTHIX_CONTACT}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/packaging/same-times.cmake)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SOURCE hearthix-mysensors)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each has its own, in its first line
set(CPACK_COMPONENT_DRIVER_DESCRIPTION "driver between the Hearthix home-automation host and MySensors
Joins the home-automation host Hearthix to a mesh of MySensors nodes, whose
gateway is on a serial line or on the network. The host starts the driver and
tells it all it has to know; it needs no configuration and stores nothing.")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "stand-in host and gateway for Hearthix's MySensors driver
hearthix-sim stands in for the home-automation host, or for a MySensors
gateway and its mesh: it tries out a gateway, shows the driver at work, and
soaks it under faults. kbdb shows, checks, edits and repairs the host's
documents. hearthix-gateway-mqtt lets the driver dial gateways behind MQTT.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS hearthix-mysensors)
if(CMAKE_CROSSCOMPILING)
  # The libraries of another machine aren't there to be asked.
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${HEARTHIX_DEBIAN_ARCHITECTURE})
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.36), libgcc-s1, libstdc++6 (>= 12)")
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
