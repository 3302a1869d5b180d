# Tests of the printer service client, against scripted peers.
set(ZOR_CLIENT_WRAP openlog syslog __syslog_chk
                    inet_pton socket connect setsockopt __setsockopt64 send recv close)

zor_add_unit_test(gui_socket_test LIBRARIES zor_card_printer WRAP ${ZOR_CLIENT_WRAP})
zor_add_unit_test(zor_printer_io_test LIBRARIES zor_card_printer WRAP ${ZOR_CLIENT_WRAP})
target_compile_definitions(zor_printer_io_test PRIVATE
    ZOR_SOURCE_DIRECTORY="${PROJECT_SOURCE_DIR}/linux_gui")
