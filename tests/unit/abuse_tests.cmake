# Tests of the printer service client against a service that misbehaves thousands of times.
zor_add_unit_test(cut_replies_test LIBRARIES zor_card_printer WRAP ${ZOR_CLIENT_WRAP})
