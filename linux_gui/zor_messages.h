// The catalogue of user-visible texts, and which of them explain a printer error code.
#pragma once

#include <climits>
#include <string>
#include <vector>

// Message ids. Titles of printer errors have the ids 100 to 522, the body of title N is N + 1000;
// 11 to 38 are labels; texts that joined the catalogue later have the names below. The values 1 to
// 6 above the base are not used.
constexpr int IDS_PYTHON_ORIGINATED_BASE = -1000000; // no text of its own
constexpr int IDS_RETRY = IDS_PYTHON_ORIGINATED_BASE + 7;
constexpr int IDS_CANCEL = IDS_PYTHON_ORIGINATED_BASE + 8;
constexpr int IDS_MSG154_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 9;
constexpr int IDS_MSG155_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 10;
constexpr int IDS_MSG156_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 11;
constexpr int IDS_MSG157_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 12;
constexpr int IDS_MSG158_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 13;
constexpr int IDS_MSG159_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 14;
constexpr int IDS_MSG160_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 15;
constexpr int IDS_MSG161_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 16;
constexpr int IDS_MSG162_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 17;
constexpr int IDS_MSG163_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 18;
constexpr int IDS_MSG164_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 19;
constexpr int IDS_MSG165_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 20;
constexpr int IDS_MSG174_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 21;
constexpr int IDS_MSG192_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 22;
constexpr int IDS_MSG193_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 23;
constexpr int IDS_MSG194_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 24;
constexpr int IDS_OPTION_TAG_SUCCESS_BODYTEXT = IDS_PYTHON_ORIGINATED_BASE + 25;
constexpr int IDS_KIOSK_CARD_LOST_BODYTEXT = IDS_PYTHON_ORIGINATED_BASE + 26;
constexpr int IDS_UV_RIBBON_REQUIRED_LCM_BODYTEXT = IDS_PYTHON_ORIGINATED_BASE + 27;
constexpr int IDS_CARD_NOT_PICKED_REAR_BODYTEXT = IDS_PYTHON_ORIGINATED_BASE + 28;
constexpr int IDS_INSERT_CLEANING_CARD_2_BODYTEXT = IDS_PYTHON_ORIGINATED_BASE + 29;
constexpr int IDS_UNLOAD_HOPPER_1 = IDS_PYTHON_ORIGINATED_BASE + 30;
constexpr int IDS_UNLOAD_HOPPER_1_BODYTEXT = IDS_PYTHON_ORIGINATED_BASE + 31;
constexpr int IDS_UNLOAD_HOPPER_2 = IDS_PYTHON_ORIGINATED_BASE + 32;
constexpr int IDS_UNLOAD_HOPPER_2_BODYTEXT = IDS_PYTHON_ORIGINATED_BASE + 33;
constexpr int IDS_UNLOAD_HOPPER_3 = IDS_PYTHON_ORIGINATED_BASE + 34;
constexpr int IDS_UNLOAD_HOPPER_3_BODYTEXT = IDS_PYTHON_ORIGINATED_BASE + 35;
constexpr int IDS_MSG180_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 36;
constexpr int IDS_MSG181_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 37;
constexpr int IDS_MSG182_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 38;
constexpr int IDS_MSG183_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 39;
constexpr int IDS_MSG184_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 40;
constexpr int IDS_MSG185_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 41;
constexpr int IDS_MSG186_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 42;
constexpr int IDS_MSG187_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 43;
constexpr int IDS_MSG188_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 44;
constexpr int IDS_MSG189_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 45;
constexpr int IDS_MSG190_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 46;
constexpr int IDS_MSG191_NOT_SUPPORTED = IDS_PYTHON_ORIGINATED_BASE + 47;
constexpr int IDS_INSERT_CLEANING_CARD_IN_H2 = IDS_PYTHON_ORIGINATED_BASE + 48;
constexpr int IDS_INSERT_CLEANING_CARD_IN_H2_BODY_TEXT = IDS_PYTHON_ORIGINATED_BASE + 49;
constexpr int IDS_PRINTER_ERROR_DIALOG_TITLE = IDS_PYTHON_ORIGINATED_BASE + 50;

// In place of the message id of a button's label: the button is removed.
const int HIDE_BUTTON_FLAG = INT_MIN;

// The text for a message id, translated by gettext with the default text domain; for an id that the
// catalogue does not hold, "UNEXPECTED_TEXT_KEY:" (translated too) and the id. Never fails, keeps
// nothing; any thread.
std::string get_message_text(int message_id);

// Which texts explain a printer error code; three zeros stand for none.
struct printer_error_code_mapping_entry {
    int printer_error_code = 0;
    int title_text_message_id = 0;
    int body_text_message_id = 0;
};

// Appends an entry to v.
void add_message_map_entry(std::vector<printer_error_code_mapping_entry>& v, int message_num,
                           int title_id, int body_id);

// A new table of all known printer error codes, in ascending order.
std::vector<printer_error_code_mapping_entry> build_printer_error_code_mapping();

// The entry for a printer error code, or three zeros. The table is built at the first call in the
// process; any thread.
printer_error_code_mapping_entry looked_up_printer_error_strings(int printer_error_code);
