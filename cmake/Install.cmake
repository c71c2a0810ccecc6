# What is installed, in two components: the driver with its documents, and the tools. debian/ makes a package of each.
include(GNUInstallDirs)
set(doc ${CMAKE_INSTALL_DATAROOTDIR}/doc/hearthix-mysensors)
install(TARGETS hearthix-mysensors RUNTIME COMPONENT driver)
install(FILES docs/man/hearthix-mysensors.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT driver)
# In the same folders as here, so that the links among them work.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION ${doc} COMPONENT driver)
install(DIRECTORY docs DESTINATION ${doc} COMPONENT driver
  FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.py" PATTERN "*.service" PATTERN man EXCLUDE)

# install_sbom(COMPONENT FOLDER ITEMS...): an SPDX document. An item is "NAME VERSION LICENSE"; the first is the package,
# the others are libraries compiled into it. Its time is SOURCE_DATE_EPOCH, if that is set.
function(install_sbom component folder)
  string(TIMESTAMP now UTC)
  set(sbom "SPDXVersion: SPDX-2.3\nDataLicense: CC0-1.0\nSPDXID: SPDXRef-DOCUMENT\nDocumentName: ${component}
DocumentNamespace: https://hearthix-mysensors.invalid/spdx/${component}-${PROJECT_VERSION}-${now}
Creator: Tool: CMake-${CMAKE_VERSION}\nCreated: ${now}\n")
  set(relation "SPDXRef-DOCUMENT DESCRIBES")
  foreach(item ${ARGN})
    string(REPLACE " " ";" item ${item})
    list(GET item 0 name)
    list(GET item 1 version)
    list(GET item 2 license)
    string(APPEND sbom "\nPackageName: ${name}\nSPDXID: SPDXRef-${name}\nPackageVersion: ${version}
PackageDownloadLocation: NOASSERTION\nFilesAnalyzed: false\nPackageLicenseDeclared: ${license}
Relationship: ${relation} SPDXRef-${name}\n")
    if(relation MATCHES DOCUMENT)
      set(relation "SPDXRef-${name} STATIC_LINK")
    endif()
  endforeach()
  file(WRITE ${CMAKE_BINARY_DIR}/${component}.spdx "${sbom}")
  install(FILES ${CMAKE_BINARY_DIR}/${component}.spdx DESTINATION ${folder} COMPONENT ${component})
endfunction()
install_sbom(driver ${doc} "hearthix-mysensors ${PROJECT_VERSION} MIT")

if(HEARTHIX_TOOLS)
  install(TARGETS hearthix-sim kbdb hearthix-gateway-mqtt RUNTIME COMPONENT tools)
  install(FILES docs/man/hearthix-sim.1 docs/man/kbdb.1 docs/man/hearthix-gateway-mqtt.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES docs/examples/hearthix-gateway-mqtt.service DESTINATION ${doc}-tools/examples COMPONENT tools)
  set(completions ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES sim/completion/hearthix-sim.bash RENAME hearthix-sim DESTINATION ${completions} COMPONENT tools)
  install(FILES tools/completion/kbdb.bash RENAME kbdb DESTINATION ${completions} COMPONENT tools)
  install(DIRECTORY tools/completion/zsh tools/completion/fish DESTINATION ${CMAKE_INSTALL_DATADIR} COMPONENT tools)
  find_package(tomlplusplus REQUIRED)
  install_sbom(tools ${doc}-tools "hearthix-mysensors-tools ${PROJECT_VERSION} MIT" "CLI11 ${CLI11_VERSION} BSD-3-Clause"
    "nlohmann-json ${nlohmann_json_VERSION} MIT" "tomlplusplus ${tomlplusplus_VERSION} MIT")
endif()
