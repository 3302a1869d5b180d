# The same program on screens of five sizes.
add_executable(box_fit_test box_fit_test.cpp)
target_link_libraries(box_fit_test PRIVATE zor_card_printer_shell X11 ${CMAKE_DL_LIBS} GTest::gmock
                                           GTest::gtest_main)
foreach(function openlog syslog __syslog_chk g_usleep gtk_window_close)
    target_link_options(box_fit_test PRIVATE -Wl,--wrap=${function})
endforeach()
target_compile_definitions(box_fit_test PRIVATE ZOR_DATA_DIRECTORY="${PROJECT_SOURCE_DIR}/Data"
                                                ZOR_LOCALE_DIRECTORY="${zor_locale_dir}")
add_dependencies(box_fit_test translations)
foreach(screen 800x600 1024x768 1366x768 1920x1080 3840x2160)
    add_test(NAME box_fit_test_${screen}
             COMMAND ${ZOR_TEST_SANDBOX} --display ${CMAKE_CROSSCOMPILING_EMULATOR}
                     $<TARGET_FILE:box_fit_test> --gtest_filter=-LanguageFit.*)
    set_tests_properties(box_fit_test_${screen} PROPERTIES ENVIRONMENT ZOR_SCREEN=${screen})
endforeach()
foreach(language ${zor_languages})
    add_test(NAME box_fit_test_${language}
             COMMAND ${ZOR_TEST_SANDBOX} --display ${CMAKE_CROSSCOMPILING_EMULATOR}
                     $<TARGET_FILE:box_fit_test> --gtest_filter=LanguageFit.*)
    set_tests_properties(box_fit_test_${language} PROPERTIES
        ENVIRONMENT "ZOR_SCREEN=1024x768;ZOR_LANGUAGE=${language}")
endforeach()

# The parts of a box by themselves, without the main source.
zor_add_unit_test(box_text_test DISPLAY LIBRARIES zor_card_printer_box)
zor_add_unit_test(box_announcement_test DISPLAY LIBRARIES zor_card_printer_box PkgConfig::X11)
target_compile_definitions(box_announcement_test PRIVATE
    ZOR_LAYOUT="${PROJECT_SOURCE_DIR}/Data/error-ui-message-box.glade")
zor_add_unit_test(button_fit_test DISPLAY LIBRARIES zor_card_printer_box)
target_compile_definitions(button_fit_test PRIVATE
    ZOR_LAYOUT="${PROJECT_SOURCE_DIR}/Data/error-ui-message-box.glade")
zor_add_unit_test(text_fit_test DISPLAY LIBRARIES zor_card_printer_box)
target_compile_definitions(text_fit_test PRIVATE
    ZOR_LAYOUT="${PROJECT_SOURCE_DIR}/Data/error-ui-message-box.glade")
