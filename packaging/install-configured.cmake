# Run by `cmake --install`: writes and installs the files that name other installed files by their
# full paths. Those never contain DESTDIR, which is only where the files wait to be moved.
include(GNUInstallDirs)
GNUInstallDirs_get_absolute_install_dir(bin_dir CMAKE_INSTALL_BINDIR BINDIR)
GNUInstallDirs_get_absolute_install_dir(config_dir CMAKE_INSTALL_SYSCONFDIR SYSCONFDIR)
cmake_path(ABSOLUTE_PATH private_dir BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})

set(name zor-card-printer-error-ui)
set(command ${bin_dir}/${name})
set(program ${private_dir}/${name})

# The two paths as each kind of file quotes them: they may hold blanks and signs. No backslashes:
# those are slashes to CMake.
string(REPLACE "'" "'\\''" shell_program "${program}")
set(shell_program "'${shell_program}'")
string(REPLACE "\"" "\\\"" unit_program "${program}")
string(REPLACE "%" "%%" unit_program "\"${unit_program}\"")
# A backslash for the argument, and another one for the line that holds it.
string(REGEX REPLACE "([\"`$])" "\\\\\\\\\\1" entry_command "${command}")
string(REPLACE "%" "%%" entry_command "\"${entry_command}\"")

foreach(file ${name}.sh ${name}.service)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/${file}.in ${scratch_dir}/${file} @ONLY)
endforeach()
foreach(file ${name}.desktop ${name}.windows.desktop)
    configure_file(${translated_dir}/${file}.in ${scratch_dir}/${file} @ONLY)
endforeach()

file(INSTALL ${scratch_dir}/${name}.sh DESTINATION ${bin_dir} RENAME ${name}
     PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                 WORLD_READ WORLD_EXECUTE)
file(INSTALL ${scratch_dir}/${name}.desktop DESTINATION ${config_dir}/xdg/autostart)
file(INSTALL ${scratch_dir}/${name}.windows.desktop
     DESTINATION ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATAROOTDIR}/applications
     RENAME ${name}.desktop)
# systemd looks here below /usr and /usr/local, whatever the directory for libraries is called.
file(INSTALL ${scratch_dir}/${name}.service
     DESTINATION ${CMAKE_INSTALL_PREFIX}/lib/systemd/user)
