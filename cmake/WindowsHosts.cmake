# Installs what a Windows host author needs: cmake --install build/windows --prefix FOLDER
install(TARGETS ZVUWPSrvcLib zvctl RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
install(DIRECTORY SrvcMain/Inc/ DESTINATION include FILES_MATCHING PATTERN "*.h")
install(FILES docs/WINDOWS-HOSTS.md DESTINATION . RENAME README.md)
