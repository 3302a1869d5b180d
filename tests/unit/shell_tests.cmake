# Tests that include the program's main source and run it with GTK on a virtual X server.

# zor_add_shell_test(NAME [WRAP ...]): a unit test on shell_support.h.
function(zor_add_shell_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "WRAP")
    zor_add_unit_test(${name} DISPLAY LIBRARIES zor_card_printer_shell X11 ${CMAKE_DL_LIBS}
                      WRAP openlog syslog __syslog_chk g_usleep gtk_window_close ${arg_WRAP})
    target_compile_definitions(${name} PRIVATE ZOR_DATA_DIRECTORY="${PROJECT_SOURCE_DIR}/Data")
    set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()

zor_add_shell_test(shell_start_test WRAP fork setsid g_application_run g_log_set_writer_func)
zor_add_shell_test(shell_test WRAP connect)
zor_add_shell_test(error_box_test
                   WRAP connect gdk_screen_width gdk_screen_height gtk_window_resize
                        gtk_widget_error_bell)
zor_add_shell_test(shell_model_test)
zor_add_shell_test(strict_service_test)
