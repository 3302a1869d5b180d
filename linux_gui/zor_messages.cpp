#include "zor_messages.h"

#include <libintl.h>

#include <algorithm>
#include <array>

// Marks a text for the translators' template; the look-up itself happens in get_message_text.
#define N_(text) text

namespace {

struct catalogue_entry {
    int id;
    const char* text;
};

// Bodies that several titles share stand here once.
constexpr const char* PRINT_RIBBON_TYPE_BODY =
    N_("The type of the print ribbon is wrong or was not identified.\n\n"
       "1. If only the setting of the printer driver is wrong, correct it. Then give up this job "
       "and send a corrected one.\n\n"
       "2. Otherwise open the printer cover. Do not touch the printhead. It can be hot.\n\n"
       "3. If the print ribbon has an undamaged tag and the type that the job needs, push it in "
       "until it is seated. Otherwise install such a print ribbon.\n\n"
       "4. Close the printer cover. If the job does not continue, print the card again.\n\n"
       "5. If the problem continues, call for service.");

constexpr const char* INSERT_NEW_CARD_SIDE_1_BODY = N_(
    "The printer is waiting for a new card with side 1 up. Side 1 is the first side of the job.\n\n"
    "1. Insert a new card with side 1 up where the printer takes single cards.\n\n"
    "2. If the card is not picked, press the printer's user button.\n\n"
    "3. If the card is still not picked, remove it. Insert another new card that is clean and "
    "flat.\n\n"
    "4. If the problem continues, call for service.");

constexpr const char* EMBOSSER_JAM_BODY =
    N_("A card jam or a wheel error occurred in the embosser. The first line of this message tells "
       "which.\n\n"
       "1. Power off the printer with its power button, and the embosser if it has a power switch. "
       "Let the topper cool for 30 minutes, then open the emboss cover.\n\n"
       "2. Remove all cards, also at the entry and the exit, by hand. Do not use tools. Reject "
       "unfinished cards.\n\n"
       "3. Close the emboss cover, then power on the printer and the embosser. If the job does not "
       "continue and you did not find the card finished, print it again.\n\n"
       "4. If the problem continues, call for service.");

constexpr const char* INDENT_ERROR_BODY =
    N_("An indent error occurred in the embosser, or the indent ribbon is torn.\n\n"
       "1. Power off the printer with its power button, and the embosser if it has a power switch. "
       "Let the topper cool for 30 minutes, then open the emboss cover.\n\n"
       "2. Remove any card and any loose indent ribbon by hand. Do not use tools. Reject "
       "unfinished cards.\n\n"
       "3. Wind a loose indent ribbon tight. Replace one that is torn or used up.\n\n"
       "4. Close the emboss cover, then power on the printer and the embosser. If the job does not "
       "continue, print the card again.\n\n"
       "5. If the problem continues, call for service.");

constexpr const char* EMBOSS_COVER_BODY =
    N_("The emboss cover is open, or it was not detected as closed.\n\n"
       "1. Remove whatever blocks the emboss cover. Do not reach into the embosser.\n\n"
       "2. Close the emboss cover until it latches. If the printer does not continue, press the "
       "printer's user button.\n\n"
       "3. If the message stays, open the emboss cover and close it again.\n\n"
       "4. If the problem continues, power off the printer with its power button, and the embosser "
       "if it has a power switch. Then power on the printer and the embosser. If the job does not "
       "continue, print the card again.\n\n"
       "5. If that does not help, call for service.");

constexpr const char* TOPPING_FOIL_TYPE_BODY =
    N_("The topping foil has the wrong type or is not supported.\n\n"
       "1. If only the job's setting is wrong, give up this job and send a corrected one.\n\n"
       "2. Otherwise power off the printer with its power button, and the embosser if it has a "
       "power switch. Let the topper cool for 30 minutes, then open the emboss cover.\n\n"
       "3. Remove any card by hand. Do not use tools. Reject unfinished cards.\n\n"
       "4. Install the correct topping foil. Close the emboss cover, then power on the printer and "
       "the embosser. If the job does not continue, print the card again.\n\n"
       "5. If the problem continues, call for service.");

constexpr const char* LAMINATOR_ENTRY_EXIT_BODY =
    N_("A card problem occurred at the entry or the exit of the laminator. The first line of this "
       "message tells where.\n"
       "1. Remove all cards from the output hopper.\n"
       "2. Power off the printer with its power button, and the laminator if it has a power "
       "switch. Let the heated rollers cool for 30 minutes, then open the laminator cover.\n"
       "3. Remove all cards at the entry and the exit by hand. Do not use tools. Reject unfinished "
       "cards.\n"
       "4. Close the laminator cover, then power on the printer and the laminator.\n"
       "5. If the job does not continue and you did not find the card finished, print it again.\n"
       "6. If the problem continues, call for service.");

constexpr const char* LAMINATOR_SUPPLY_OUT_BODY =
    N_("The laminator supply named above (L1 or L2) is out or missing.\n"
       "1. Open the laminator cover. Do not reach past the supply. The heated rollers can be hot.\n"
       "2. If the supply is installed and not used up, push it in until it is seated. Otherwise "
       "install a new one in the same place.\n"
       "3. Close the laminator cover. If the printer does not continue, press the printer's user "
       "button.\n"
       "4. If the problem continues, power off the printer with its power button, and the "
       "laminator if it has a power switch. Then power on the printer and the laminator. If the "
       "job does not continue, print the card again.\n"
       "5. If that does not help, call for service.");

constexpr const char* LAMINATOR_SUPPLY_TYPE_BODY =
    N_("The laminator supply named above (L1 or L2) has the wrong type, is not supported or was "
       "not identified.\n"
       "1. If only the setting of the printer driver is wrong, correct it. Then give up this job "
       "and send a corrected one.\n"
       "2. Otherwise open the laminator cover. Do not reach past the supply. The heated rollers "
       "can be hot.\n"
       "3. If the supply is made for this laminator, with an undamaged tag and the type that the "
       "job needs, push it in until it is seated. Otherwise install such a supply.\n"
       "4. Close the laminator cover. If the job does not continue, print the card again.\n"
       "5. If the problem continues, call for service.");

constexpr const char* HEATER_BODY = N_(
    "A heater, a heated roller, a sensor or the impresser has a problem. The first line of this "
    "message tells which.\n"
    "1. Do not open the laminator or the impresser. Do not touch hot parts.\n"
    "2. Power off the printer with its power button, and the laminator if it has a power switch.\n"
    "3. Let hot parts cool for 30 minutes, then power on the printer and the laminator.\n"
    "4. Wait until the printer is ready. If the job does not continue, print the card again.\n"
    "5. If the problem continues, power off the printer and the laminator, leave them off and call "
    "for service.");

constexpr const char* RIM_ERROR_BODY =
    N_("A RIM error occurred. The RIM (rear insertion module), or a wheel of the RIM, did not work "
       "correctly.\n"
       "1. Power off the printer with its power button, and the RIM if it has a power switch. Wait "
       "until nothing moves, then open the RIM door.\n"
       "2. Remove any card or object by hand. Do not use tools. Reject unfinished cards.\n"
       "3. Close the RIM door, then power on the printer and the RIM.\n"
       "4. If the job does not continue and you did not find the card finished, print it again.\n"
       "5. If the problem continues, call for service.");

constexpr std::array<catalogue_entry, 431> CATALOGUE{{
    {IDS_RETRY, N_("Retry")},
    {IDS_CANCEL, N_("Cancel")},
    {IDS_MSG154_NOT_SUPPORTED, N_("Message 154: Not supported.")},
    {IDS_MSG155_NOT_SUPPORTED, N_("Message 155: Not supported.")},
    {IDS_MSG156_NOT_SUPPORTED, N_("Message 156: Not supported.")},
    {IDS_MSG157_NOT_SUPPORTED, N_("Message 157: Not supported.")},
    {IDS_MSG158_NOT_SUPPORTED, N_("Message 158: Not supported.")},
    {IDS_MSG159_NOT_SUPPORTED, N_("Message 159: Not supported.")},
    {IDS_MSG160_NOT_SUPPORTED, N_("Message 160: Not supported.")},
    {IDS_MSG161_NOT_SUPPORTED, N_("Message 161: Not supported.")},
    {IDS_MSG162_NOT_SUPPORTED, N_("Message 162: Not supported.")},
    {IDS_MSG163_NOT_SUPPORTED, N_("Message 163: Not supported.")},
    {IDS_MSG164_NOT_SUPPORTED, N_("Message 164: Not supported.")},
    {IDS_MSG165_NOT_SUPPORTED, N_("Message 165: Not supported.")},
    {IDS_MSG174_NOT_SUPPORTED, N_("Not supported")},
    {IDS_MSG192_NOT_SUPPORTED, N_("Message 192: Not supported.")},
    {IDS_MSG193_NOT_SUPPORTED, N_("Message 193: Not supported.")},
    {IDS_MSG194_NOT_SUPPORTED, N_("Message 194: Not supported.")},
    {IDS_OPTION_TAG_SUCCESS_BODYTEXT,
     N_("The option tag update completed successfully. Restart the printer to allow the change to "
        "take effect. If you are adding multiple udpates, you do not have to restart the printer "
        "until all have completed successfully.")},
    {IDS_KIOSK_CARD_LOST_BODYTEXT,
     N_("The card has been lost in the kiosk.  Either the card was not hand fed into the kiosk "
        "successfully or a card was removed after a reject initiated.")},
    {IDS_UV_RIBBON_REQUIRED_LCM_BODYTEXT,
     N_("The inserted UV ribbon requires an attached Light Cure Module (LCM) for curing.\n"
        "To resolve the issue shutdown printer, attach a rear LCM,and power on the printer. \n"
        "Alternatively, replace the UV ribbon with a standard ribbon.")},
    {IDS_CARD_NOT_PICKED_REAR_BODYTEXT,
     N_("The printer did not pick a card from the rear of the printer. To complete the current "
        "card, click the driver button and insert the card into the rear of the printer.")},
    {IDS_INSERT_CLEANING_CARD_2_BODYTEXT,
     N_("1. Insert cleaning card into exception slot of multihopper. \n"
        "2. If the card is not immediately picked, press the printer's user button or click OK.")},
    {IDS_UNLOAD_HOPPER_1, N_("Message 343: Unload Hopper 1")},
    {IDS_UNLOAD_HOPPER_1_BODYTEXT, N_("Remove all cards from the output hopper 1")},
    {IDS_UNLOAD_HOPPER_2, N_("Message 344: Unload Hopper 2")},
    {IDS_UNLOAD_HOPPER_2_BODYTEXT, N_("Remove all cards from the output hopper 2")},
    {IDS_UNLOAD_HOPPER_3, N_("Message 345: Unload Hopper 3")},
    {IDS_UNLOAD_HOPPER_3_BODYTEXT, N_("Remove all cards from the output hopper 3")},
    {IDS_MSG180_NOT_SUPPORTED, N_("Message 180: Not supported.")},
    {IDS_MSG181_NOT_SUPPORTED, N_("Message 181: Not supported.")},
    {IDS_MSG182_NOT_SUPPORTED, N_("Message 182: Not supported.")},
    {IDS_MSG183_NOT_SUPPORTED, N_("Message 183: Not supported.")},
    {IDS_MSG184_NOT_SUPPORTED, N_("Message 184: Not supported.")},
    {IDS_MSG185_NOT_SUPPORTED, N_("Message 185: Not supported.")},
    {IDS_MSG186_NOT_SUPPORTED, N_("Message 186: Not supported.")},
    {IDS_MSG187_NOT_SUPPORTED, N_("Message 187: Not supported.")},
    {IDS_MSG188_NOT_SUPPORTED, N_("Message 188: Not supported.")},
    {IDS_MSG189_NOT_SUPPORTED, N_("Message 189: Not supported.")},
    {IDS_MSG190_NOT_SUPPORTED, N_("Message 190: Not supported.")},
    {IDS_MSG191_NOT_SUPPORTED, N_("Message 191: Not supported.")},
    {IDS_INSERT_CLEANING_CARD_IN_H2, N_("Message 278: Insert cleaning card in H2")},
    {IDS_INSERT_CLEANING_CARD_IN_H2_BODY_TEXT,
     N_("1. Unlock the multi - hopper.\n"
        "2. Remove unused cards and insert the cleaning card in hopper 2.\n"
        "3. Close and lock the multi - hopper.\n"
        "4. Press the printer's User button to pick the card.")},
    {IDS_PRINTER_ERROR_DIALOG_TITLE, N_("ZOR-Card-Printer Error")},
    {11, N_("Resume the card")},
    {12, N_("Suspend printing")},
    {13, N_("Laminator Card Jam")},
    {14, N_("Restart printing")},
    {15, N_("Cancel the card")},
    {36, N_("OK")},
    {38, N_("Retry the card")},
    {100, N_("Message 100: Request not supported.")},
    {101, N_("Message 101: Job could not complete.")},
    {102, N_("Message 102: Card not in position.")},
    {103, N_("Message 103: Printer problem.")},
    {104, N_("Message 104: Critical problem.")},
    {105, N_("Message 105: Magstripe data error.")},
    {106, N_("Message 106: Magstripe data not found.")},
    {107, N_("Message 107: Magstripe read data error.")},
    {108, N_("Message 108: Magstripe read no data.")},
    {109, N_("Message 109: Print ribbon problem.")},
    {110, N_("Message 110: Print ribbon out or missing.")},
    {111, N_("Message 111: Card not picked.")},
    {112, N_("Message 112: Card hopper empty.")},
    {113, N_("Message 113: Close cover to continue.")},
    {114, N_("Message 114: Cover opened during job.")},
    {115, N_("Message 115: Wait for print temperature.")},
    {116, N_("Message 116: Magstripe not available.")},
    {117, N_("Message 117: Reader not available.")},
    {118, N_("Message 118: Print ribbon type problem.")},
    {119, N_("Message 119: Print ribbon not supported.")},
    {120, N_("Message 120: User paused the printer.")},
    {121, N_("Message 121: Print ribbon not identified.")},
    {122, N_("Message 122: Magstripe format problem.")},
    {123, N_("Message 123: Insert new card side 1 up.")},
    {124, N_("Message 124: Insert same card side 2 up.")},
    {125, N_("Message 125: Emboss critical error.")},
    {126, N_("Message 126: Emboss format error.")},
    {127, N_("Message 127: Emboss transport error.")},
    {128, N_("Message 128: Embosser card jam.")},
    {129, N_("Message 129: Embosser topper jam.")},
    {130, N_("Message 130: Embosser card entry jam.")},
    {131, N_("Message 131: Embosser card exit jam.")},
    {132, N_("Message 132: Embosser card stack full.")},
    {133, N_("Message 133: Embosser card reject full.")},
    {134, N_("Message 134: Indent ribbon low.")},
    {135, N_("Message 135: Indent ribbon supplies out.")},
    {136, N_("Message 136: Indent ribbon break.")},
    {137, N_("Message 137: Embosser wheel error.")},
    {138, N_("Message 138: Embosser indent error.")},
    {139, N_("Message 139: Card not in position in embosser.")},
    {140, N_("Message 140: Embosser not available.")},
    {141, N_("Message 141: Close emboss cover.")},
    {142, N_("Message 142: Emboss cover error.")},
    {143, N_("Message 143: Topping foil problem.")},
    {144, N_("Message 144: Topping foil out.")},
    {145, N_("Message 145: Topping foil type problem.")},
    {146, N_("Message 146: Topping foil support error.")},
    {147, N_("Message 147: Topping foil no tag found.")},
    {148, N_("Message 148: Topping foil low.")},
    {149, N_("Message 149: Option not installed.")},
    {150, N_("Message 150: Print while unlocked.")},
    {151, N_("Message 151: Failed to lock.")},
    {152, N_("Message 152: Insert new card side 2 up.")},
    {153, N_("Message 153: Insert same card side 2 up.")},
    {166, N_("Message 166: C2 supply out or missing")},
    {167, N_("Message 167: C2 supply not identified")},
    {168, N_("Message 168: C2 supply not suppported")},
    {169, N_("Message 169: Not supported.")},
    {170, N_("Message 170: Insert new card side 1 up.")},
    {171, N_("Message 171: Insert same card side 1 up.")},
    {172, N_("Message 172: Insert Cleaning Card")},
    {173, N_("Message 173: Improper Shutdown")},
    {175, N_("Message 175: C2 supply error")},
    {176, N_("Message 176: C2 supply type error")},
    {177, N_("Message 177: Laminator not available.")},
    {178, N_("Message 178: Card blocking exit sensors")},
    {179, N_("Message 179: Card not received")},
    {195, N_("Message 195: Card not dispensed.")},
    {196, N_("Message 196: Laminator error critical.")},
    {197, N_("Message 197: Laminator entry card problem.")},
    {198, N_("Message 198: L1 area card problem.")},
    {199, N_("Message 199: L2 area card problem.")},
    {200, N_("Message 200: Laminator exit card problem.")},
    {201, N_("Message 201: L1 supply problem.")},
    {202, N_("Message 202: L1 supply out or missing.")},
    {203, N_("Message 203: L1 supply type problem.")},
    {204, N_("Message 204: L1 supply not supported.")},
    {205, N_("Message 205: L1 supply not identified.")},
    {206, N_("Message 206: L2 supply problem.")},
    {207, N_("Message 207: L2 supply out or missing.")},
    {208, N_("Message 208: L2 supply type problem.")},
    {209, N_("Message 209: L2 supply not supported.")},
    {210, N_("Message 210: L2 supply not identified.")},
    {211, N_("Message 211: L1 heater problem.")},
    {212, N_("Message 212: L2 heater problem.")},
    {213, N_("Message 213: L1 heater sensor problem.")},
    {214, N_("Message 214: L2 heater sensor problem.")},
    {215, N_("Message 215: L1 heater roller problem.")},
    {216, N_("Message 216: L2 heater roller problem.")},
    {217, N_("Message 217: Debow problem.")},
    {218, N_("Message 218: Impresser problem.")},
    {219, N_("Message 219: Impresser sensor problem.")},
    {220, N_("Message 220: Impresser heater problem.")},
    {221, N_("Message 221: Bar code scanner problem.")},
    {222, N_("Message 222: Firmware version mismatch.")},
    {223, N_("Message 223: Laminator system mismatch.")},
    {224, N_("Message 224: Supply region code not valid.")},
    {225, N_("Message 225: Rewrite config mismatch.")},
    {227, N_("Message 227: C2 waiting for roller temp")},
    {228, N_("Message 228: C1 printhead error")},
    {229, N_("Message 229: C2 heat sensor error")},
    {230, N_("Message 230: C2 heater error")},
    {231, N_("Message 231: C2 heated roller motion error")},
    {232, N_("Message 232: Retransfer debow error")},
    {233, N_("Message 233: Smart card contact fail")},
    {234, N_("Message 234: K1 transport card jam")},
    {235, N_("Message 235: K2 transport card jam")},
    {236, N_("Message 236: Flipper module rotate error")},
    {237, N_("Message 237: C1 supply out or missing")},
    {238, N_("Message 238: C1 supply not identified")},
    {239, N_("Message 239: C1 supply not supported")},
    {240, N_("Message 240: C1 supply error")},
    {241, N_("Message 241: C1 supply type error")},
    {242, N_("Message 242: RT1 reject tray full")},
    {243, N_("Message 243: Card lost")},
    {244, N_("Message 244: Not supported.")},
    {245, N_("Message 245: Configuration error")},
    {250, N_("Message 250: Card indexer error")},
    {251, N_("Message 251: Laser position error")},
    {252, N_("Message 252: Laser template error")},
    {253, N_("Message 253: Laser horizontal data error")},
    {254, N_("Message 254: Laser not available")},
    {255, N_("Message 255: Laser cover open")},
    {256, N_("Message 256: Laser interlock open")},
    {257, N_("Message 257: Laser air filter missing")},
    {258, N_("Message 258: Laser not detected")},
    {259, N_("Message 259: Laser firmware error")},
    {260, N_("Message 260: Laser control error")},
    {261, N_("Message 261: Laser option not supported")},
    {262, N_("Message 262: Vision operation failed")},
    {263, N_("Message 263: Laser power board error")},
    {264, N_("Message 264: Lost card in laser")},
    {265, N_("Message 265: Laser card entry jam")},
    {266, N_("Message 266: Laser card exit jam")},
    {267, N_("Message 267: Laser hardware failure")},
    {268, N_("Message 268: Laser setup error")},
    {269, N_("Message 269: Laser setup name length error")},
    {270, N_("Message 270: Laser text length error")},
    {271, N_("Message 271: Laser card output full")},
    {272, N_("Message 272: Laser card reject full")},
    {273, N_("Message 273: Laser output area error")},
    {274, N_("Message 274: Vision not available")},
    {275, N_("Message 275: Multi-hopper error")},
    {276, N_("Message 276: Multi-hopper card jam")},
    {277, N_("Message 277: Multi-hopper pick error")},
    {298, N_("Message 298: Option tag success")},
    {300, N_("Message 300: Card not dispensed.")},
    {301, N_("Message 301: RIM not detected.")},
    {302, N_("Message 302: RIM arm error.")},
    {303, N_("Message 303: RIM wheel error.")},
    {304, N_("Message 304: RIM supply error")},
    {305, N_("Message 305: RIM lost card")},
    {306, N_("Message 306: RIM card jam")},
    {307, N_("Message 307: RIM rear pick error")},
    {308, N_("Message 308: RIM dispense error")},
    {309, N_("Message 309: RIM error")},
    {310, N_("Message 310: Kiosk card lost")},
    {311, N_("Message 311: LCM card jam")},
    {312, N_("Message 312: LCM lost card")},
    {313, N_("Message 313: LCM lamp drive problem")},
    {314, N_("Message 314: LCM lamp problem")},
    {315, N_("Mesage 315: LCM fan problem")},
    {316, N_("Message 316: LCM door open")},
    {317, N_("Message 317: LCM cooling")},
    {318, N_("Message 318: UV ribbon requires LCM")},
    {319, N_("Message 319: LCM comm error")},
    {320, N_("Message 320: Rear Module error")},
    {321, N_("Message 321: Card not picked.")},
    {322, N_("Message 322: RIM door open")},
    {323, N_("Message 323: Insert cleaning card")},
    {324, N_("Message 324: UV printing prohibited at 300x300 resolution. ")},
    {325, N_("Message 325: Close rear module door")},
    {326, N_("Message 326: Rear module door opened")},
    {329, N_("Message 329: Output hopper full")},
    {500, N_("Message 500: The printer is not available.")},
    {501, N_("Message 501: The printer connection was lost.")},
    {502, N_("Message 502: The card data is missing or is not usable.")},
    {503, N_("Message 503: The card data is missing or is not usable.")},
    {504, N_("Message 504: The card data is missing or is not usable.")},
    {505, N_("Message 505: USB communication issue.")},
    {506, N_("Message 506: A card is currently processing.")},
    {507, N_("Message 507: The printer is unlocked.")},
    {508, N_("Message 508: The printer is shutting down.")},
    {509, N_("Message 509: The printer is offline or suspended.")},
    {510, N_("Message 510: The printer is unlocked.")},
    {511, N_("Message 511: Cannot lock or unlock the printer.  Locks are not installed.")},
    {512, N_("Message 512: Cannot lock or unlock the printer. The password is incorrect or "
             "invalid.")},
    {513, N_("Message 513: Cannot unlock the printer. The printer is busy.")},
    {514, N_("Message 514: Cannot lock the printer. The printer cover is open.")},
    {515, N_("Message 515: Failed to lock or unlock the printer. The locks did not function.")},
    {516, N_("Message 516: Timeout expired before bar code could be read.")},
    {517, N_("Message 517: Wrong printer job ID.")},
    {518, N_("Message 518: Unable to print.")},
    {519, N_("Message 519: File import failed")},
    {520, N_("Message 520: Hopper number not valid.")},
    {521, N_("Message 521: A job sent to the laser system failed because the system is not "
             "ready.")},
    {522, N_("Message 522: Failed to read laser files.")},
    {1100, N_("The printer does not support this request. The request needs a function that the "
              "printer does not have.\n\n"
              "1. Select a printer that has the function, or remove from the job what needs it.\n\n"
              "2. Give up this job and send a corrected one.\n\n"
              "3. If the problem continues, ask your administrator to update the printer driver "
              "and the firmware, or call for service.")},
    {1101, N_("The card took too much time to complete.\n\n"
              "The card will be canceled.")},
    {1102, N_("The card is not in position. The printer did not find it where it must be.\n\n"
              "1. Power off the printer with its power button. Let hot parts cool for 30 minutes, "
              "then open the printer cover.\n\n"
              "2. Remove any card by hand. Do not use tools. Do not touch the printhead. Reject "
              "unfinished cards.\n\n"
              "3. Close the printer cover, then power on the printer.\n\n"
              "4. Load clean, flat cards. If the job does not continue, print the card again.\n\n"
              "5. If the problem continues, call for service.")},
    {1103, N_("A printer problem occurred. The printer stopped and did not report the cause.\n\n"
              "1. Close the printer cover. Remove all cards from the output hopper.\n\n"
              "2. Power off the printer with its power button, then power it on again.\n\n"
              "3. If the job does not continue and you did not find the card finished, print it "
              "again.\n\n"
              "4. If the problem continues, call for service.")},
    {1104,
     N_("A critical problem stopped the printer. A part of the printer does not work correctly.\n\n"
        "1. Power off the printer with its power button.\n\n"
        "2. Wait 30 seconds, then power on the printer.\n\n"
        "3. If the job does not continue, print the card again.\n\n"
        "4. If the problem continues, power off the printer, leave it off and call for service.")},
    {1105,
     N_("A magstripe data error occurred. The data could not be encoded on the card.\n\n"
        "1. Reject the card that failed. Load cards that have a magstripe, with the magstripe on "
        "the correct side.\n\n"
        "2. If the data has characters or a length that a magstripe track does not allow, correct "
        "it. Then give up this job and send a corrected one.\n\n"
        "3. Otherwise load a new card. If the job does not continue, print the card again.\n\n"
        "4. If the problem continues, clean the printer with a cleaning card, as the printer's "
        "instructions say.\n\n"
        "5. If that does not help, call for service.")},
    {1106,
     N_("The magstripe data was not found in the job.\n\n"
        "1. Enter the missing data in the magstripe fields of the card design.\n\n"
        "2. Make sure that the printer driver is set to encode the tracks that the job uses.\n\n"
        "3. Give up this job and send a corrected one.\n\n"
        "4. If the problem continues, ask your administrator to check the job and the settings, or "
        "call for service.")},
    {1107, N_("A magstripe read data error occurred. The data on the card could not be read "
              "correctly.\n\n"
              "1. If the magstripe is dirty, wipe it with a dry, soft cloth. If it is scratched, "
              "use another card.\n\n"
              "2. Load the card with the magstripe on the correct side. If the job does not "
              "continue, print the card again.\n\n"
              "3. If the problem continues, clean the printer with a cleaning card, as the "
              "printer's instructions say.\n\n"
              "4. If that does not help, ask your administrator to check the magstripe format of "
              "the card and of the printer, or call for service.")},
    {1108, N_("The magstripe was read, but no data was found on it.\n\n"
              "1. Load the card with the magstripe on the correct side.\n\n"
              "2. If the magstripe of this card was never encoded, load a card that is encoded.\n\n"
              "3. If the job does not continue, print the card again.\n\n"
              "4. If the problem continues, clean the printer with a cleaning card, as the "
              "printer's instructions say.\n\n"
              "5. If that does not help, call for service.")},
    {1109,
     N_("The print ribbon has a problem. It does not move correctly.\n\n"
        "1. Open the printer cover. Do not touch the printhead. It can be hot.\n\n"
        "2. If anything is stuck, close the cover and power off the printer with its power button. "
        "Let hot parts cool for 30 minutes, then open the printer cover. Remove any card and "
        "pieces by hand. Do not use tools. Do not touch the printhead. Reject unfinished cards.\n\n"
        "3. Wind a loose print ribbon tight. Replace a torn or wrinkled one. Push it in until it "
        "is seated. Close the printer cover. Power on what you powered off. If the job does not "
        "continue, print the card again.\n\n"
        "4. If the problem continues, call for service.")},
    {1110, N_("The print ribbon is out or missing. Its place is under the printer cover.\n\n"
              "1. Open the printer cover. Do not touch the printhead. It can be hot.\n\n"
              "2. If the print ribbon is installed and not used up, push it in until it is seated. "
              "Otherwise install a new one.\n\n"
              "3. Close the printer cover. If the printer does not continue, press the printer's "
              "user button.\n\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n\n"
              "5. If that does not help, call for service.")},
    {1111, N_("The card was not picked from the card hopper.\n\n"
              "1. Remove the cards from the card hopper and separate them.\n\n"
              "2. Load clean, flat cards of the thickness that the printer requires.\n\n"
              "3. If the printer does not continue, press the printer's user button.\n\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n\n"
              "5. If that does not help, clean the printer with a cleaning card, as the printer's "
              "instructions say.\n\n"
              "6. If the card is still not picked, call for service.")},
    {1112, N_("The card hopper is empty. The job waits for cards.\n\n"
              "1. Load cards into the card hopper. Make sure that they lie flat.\n\n"
              "2. Close the card hopper.\n\n"
              "3. If the printer does not continue, press the printer's user button.\n\n"
              "4. If the problem continues, call for service.")},
    {1113, N_("The printer cover is open. Close the printer cover to continue.\n\n"
              "1. Remove whatever blocks the printer cover. Push in any supply that is not seated. "
              "Do not touch hot parts.\n\n"
              "2. Close the printer cover until it latches. If the printer does not continue, "
              "press the printer's user button.\n\n"
              "3. If the message stays, open the printer cover and close it again.\n\n"
              "4. If the problem continues, call for service.")},
    {1114,
     N_("The printer cover was opened during the job, so the job stopped.\n\n"
        "1. If a card is left inside, close the printer cover and power off the printer with its "
        "power button. Let hot parts cool for 30 minutes, then open the printer cover. Remove the "
        "card by hand. Do not use tools. Do not touch the printhead. Reject unfinished cards.\n\n"
        "2. Close the printer cover until it latches. Power on what you powered off.\n\n"
        "3. If the job does not continue and you did not find the card finished, print it again. "
        "Keep the printer cover closed during the job.\n\n"
        "4. If the problem continues, call for service.")},
    {1115, N_("When proper temperature is reached, printing the card will resume on its own.")},
    {1116, N_("The magstripe option is not available. The printer does not have it or does not "
              "find it.\n\n"
              "1. If the printer has no magstripe option, select another printer or remove the "
              "magstripe data from the job. Then give up this job and send a corrected one.\n\n"
              "2. Otherwise power off the printer with its power button, then power it on again. "
              "If the job does not continue, print the card again.\n\n"
              "3. If the problem continues, call for service.")},
    {1117,
     N_("The reader is not available. The printer did not find the reader that the job needs.\n\n"
        "1. If the printer has no reader, select another printer or remove the reader operation "
        "from the job. Then give up this job and send a corrected one.\n\n"
        "2. Otherwise power off the printer with its power button. Make sure that all its cables "
        "are connected.\n\n"
        "3. Power on the printer. If the job does not continue, print the card again.\n\n"
        "4. If the problem continues, call for service.")},
    {1118, PRINT_RIBBON_TYPE_BODY},
    {1119, N_("The print ribbon is not supported by this printer. It is made for another printer "
              "model.\n\n"
              "1. Open the printer cover. Do not touch the printhead. It can be hot.\n\n"
              "2. Remove the print ribbon and install a print ribbon that is made for this printer "
              "model.\n\n"
              "3. Close the printer cover. If the job does not continue, print the card again.\n\n"
              "4. If the problem continues, ask your supplier which print ribbon the printer "
              "supports, or call for service.")},
    {1120, N_("The user paused the printer. The job waits.\n\n"
              "1. To continue, press the printer's user button or use the panel of the printer.\n\n"
              "2. If the printer stays paused, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n\n"
              "3. If that does not help, call for service.")},
    {1121, PRINT_RIBBON_TYPE_BODY},
    {1122,
     N_("The format of the magstripe data does not match the magstripe format of the printer.\n\n"
        "1. If the data has characters or a length that a magstripe track does not allow, correct "
        "it.\n\n"
        "2. Make sure that the printer driver and the printer are set to the same magstripe "
        "format.\n\n"
        "3. Give up this job and send a corrected one.\n\n"
        "4. If the problem continues, ask your administrator to check the job and the settings, or "
        "call for service.")},
    {1123, INSERT_NEW_CARD_SIDE_1_BODY},
    {1124, N_("The printer is waiting for the same card with side 2 up. Side 2 is the second side "
              "of the job.\n\n"
              "1. Take the card that was printed last from the output hopper. Do not use a new "
              "card. If you cannot find that card, give up this job and send it again.\n\n"
              "2. Insert the card with side 2 up where the printer takes single cards.\n\n"
              "3. If the card is not picked, press the printer's user button.\n\n"
              "4. If the problem continues, call for service.")},
    {1125, N_("An emboss critical error stopped the embosser. A part of the embosser does not work "
              "correctly.\n\n"
              "1. Power off the printer with its power button, and the embosser if it has a power "
              "switch.\n\n"
              "2. Wait 30 seconds, then power on the printer and the embosser.\n\n"
              "3. If the job does not continue, print the card again.\n\n"
              "4. If the problem continues, power off the printer and the embosser, leave them off "
              "and call for service.")},
    {1126,
     N_("An emboss format error occurred. The emboss data in the job cannot be used.\n\n"
        "1. Remove all characters that are not on the embosser wheel from the emboss text.\n\n"
        "2. Make sure that every line of emboss text fits on the card and does not overlap another "
        "line.\n\n"
        "3. Give up this job and send a corrected one.\n\n"
        "4. If the problem continues, ask your administrator to check the job and the settings, or "
        "call for service.")},
    {1127, N_("An emboss transport error occurred. The embosser could not move the card.\n\n"
              "1. Power off the printer with its power button, and the embosser if it has a power "
              "switch. Let the topper cool for 30 minutes, then open the emboss cover.\n\n"
              "2. Remove all cards by hand. Do not use tools. Reject unfinished cards.\n\n"
              "3. Close the emboss cover, then power on the printer and the embosser. Load clean, "
              "flat cards. If the job does not continue and you did not find the card finished, "
              "print it again.\n\n"
              "4. If the problem continues, call for service.")},
    {1128, EMBOSSER_JAM_BODY},
    {1129,
     N_("The embosser topper is jammed. The topper puts topping foil on the raised characters.\n\n"
        "1. Power off the printer with its power button, and the embosser if it has a power "
        "switch. Let the topper cool for 30 minutes, then open the emboss cover.\n\n"
        "2. Remove any card and any loose topping foil by hand. Do not use tools. Reject "
        "unfinished cards.\n\n"
        "3. Replace a torn topping foil. Close the emboss cover, then power on the printer and the "
        "embosser. If the job does not continue, print the card again.\n\n"
        "4. If the problem continues, call for service.")},
    {1130, EMBOSSER_JAM_BODY},
    {1131, EMBOSSER_JAM_BODY},
    {1132,
     N_("The card stack of the embosser is full. The job waits.\n\n"
        "1. Remove all cards from the card stack of the embosser. Do not reach into the "
        "embosser.\n\n"
        "2. Make sure that no card blocks the opening of the card stack.\n\n"
        "3. If the printer does not continue, press the printer's user button.\n\n"
        "4. If the problem continues, power off the printer with its power button, and the "
        "embosser if it has a power switch. Then power on the printer and the embosser. If the job "
        "does not continue and you did not find the card finished, print it again.\n\n"
        "5. If that does not help, call for service.")},
    {1133,
     N_("The reject tray of the embosser is full. The job waits.\n\n"
        "1. Remove all cards from the reject tray of the embosser. Do not reach into the embosser. "
        "Handle them as your rules for rejected cards say. They can hold personal data.\n\n"
        "2. Make sure that no card blocks the opening of the reject tray. If the printer does not "
        "continue, press the printer's user button.\n\n"
        "3. If the problem continues, power off the printer with its power button, and the "
        "embosser if it has a power switch. Then power on the printer and the embosser. If the job "
        "does not continue, print the card again.\n\n"
        "4. If that does not help, call for service.")},
    {1134, N_("The indent ribbon is low. It will soon be used up.\n\n"
              "1. You can continue to print. Have a new indent ribbon ready.\n\n"
              "2. To replace the indent ribbon, wait until the job is finished. Power off the "
              "printer with its power button, and the embosser if it has a power switch. Let the "
              "topper cool for 30 minutes, then open the emboss cover.\n\n"
              "3. Remove the indent ribbon by hand. Do not use tools. Install a new one.\n\n"
              "4. Close the emboss cover, then power on the printer and the embosser.\n\n"
              "5. If the message appears with a new indent ribbon, call for service.")},
    {1135,
     N_("The indent ribbon supplies are out. An indent ribbon is used up.\n\n"
        "1. Power off the printer with its power button, and the embosser if it has a power "
        "switch. Let the topper cool for 30 minutes, then open the emboss cover.\n\n"
        "2. Remove any card by hand. Do not use tools. Reject unfinished cards.\n\n"
        "3. Remove the used indent ribbon and install a new one. Make sure that it is tight.\n\n"
        "4. Close the emboss cover, then power on the printer and the embosser. If the job does "
        "not continue, print the card again.\n\n"
        "5. If the problem continues, call for service.")},
    {1136, INDENT_ERROR_BODY},
    {1137, EMBOSSER_JAM_BODY},
    {1138, INDENT_ERROR_BODY},
    {1139, N_("The card is not in position in the embosser. The embosser did not find it where it "
              "must be.\n\n"
              "1. Power off the printer with its power button, and the embosser if it has a power "
              "switch. Let the topper cool for 30 minutes, then open the emboss cover.\n\n"
              "2. Remove any card by hand. Do not use tools. Reject unfinished cards.\n\n"
              "3. Close the emboss cover, then power on the printer and the embosser.\n\n"
              "4. If the card is bent, load flat cards. If the job does not continue, print the "
              "card again.\n\n"
              "5. If the problem continues, call for service.")},
    {1140,
     N_("The embosser is not available. The printer does not have one or does not find it.\n\n"
        "1. If the printer has no embosser, select another printer or remove the emboss data from "
        "the job. Then give up this job and send a corrected one.\n\n"
        "2. Otherwise power off the printer with its power button, and the embosser if it has a "
        "power switch.\n\n"
        "3. Make sure that the embosser is attached and that its cable is connected. Power on the "
        "printer and the embosser.\n\n"
        "4. If the job does not continue, print the card again.\n\n"
        "5. If the problem continues, call for service.")},
    {1141, EMBOSS_COVER_BODY},
    {1142, EMBOSS_COVER_BODY},
    {1143, N_("A topping foil problem occurred. The topping foil does not move correctly.\n\n"
              "1. Power off the printer with its power button, and the embosser if it has a power "
              "switch. Let the topper cool for 30 minutes, then open the emboss cover.\n\n"
              "2. Remove any card and any loose topping foil by hand. Do not use tools. Reject "
              "unfinished cards.\n\n"
              "3. Wind a loose topping foil tight. Replace a torn or wrinkled one.\n\n"
              "4. Close the emboss cover, then power on the printer and the embosser. If the job "
              "does not continue, print the card again.\n\n"
              "5. If the problem continues, call for service.")},
    {1144,
     N_("The topping foil is out. It is used up.\n\n"
        "1. Power off the printer with its power button, and the embosser if it has a power "
        "switch. Let the topper cool for 30 minutes, then open the emboss cover.\n\n"
        "2. Remove any card by hand. Do not use tools. Reject unfinished cards.\n\n"
        "3. Remove the used topping foil and install a new one. Make sure that it is tight.\n\n"
        "4. Close the emboss cover, then power on the printer and the embosser. If the job does "
        "not continue, print the card again.\n\n"
        "5. If the problem continues, call for service.")},
    {1145, TOPPING_FOIL_TYPE_BODY},
    {1146, TOPPING_FOIL_TYPE_BODY},
    {1147,
     N_("No tag was found on the topping foil, so the topping foil was not identified.\n\n"
        "1. Power off the printer with its power button, and the embosser if it has a power "
        "switch. Let the topper cool for 30 minutes, then open the emboss cover.\n\n"
        "2. Remove any card by hand. Do not use tools. Reject unfinished cards.\n\n"
        "3. If the topping foil has an undamaged tag, push it in until it is seated. Otherwise "
        "install one that has an undamaged tag. Close the emboss cover, then power on the printer "
        "and the embosser. If the job does not continue, print the card again.\n\n"
        "4. If the problem continues, call for service.")},
    {1148, N_("The topping foil is low. It will soon be used up.\n\n"
              "1. You can continue to print. Have a new topping foil ready.\n\n"
              "2. To replace the topping foil, wait until the job is finished. Power off the "
              "printer with its power button, and the embosser if it has a power switch. Let the "
              "topper cool for 30 minutes, then open the emboss cover.\n\n"
              "3. Remove the topping foil by hand. Do not use tools. Install a new one.\n\n"
              "4. Close the emboss cover, then power on the printer and the embosser.\n\n"
              "5. If the message appears with a new topping foil, call for service.")},
    {1149, N_("The job needs an option that is not installed in this printer.\n\n"
              "1. If the printer does not have the option, select another printer or remove from "
              "the job what needs the option. Then give up this job and send a corrected one.\n\n"
              "2. If the printer driver shows options that the printer does not have, ask your "
              "administrator to correct its settings.\n\n"
              "3. If the printer has the option, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n\n"
              "4. If that does not help, call for service.")},
    {1150, N_("A job was sent to print while the printer was unlocked.\n\n"
              "1. Close the printer cover and the card hopper.\n\n"
              "2. Lock the printer, or ask your administrator to lock it.\n\n"
              "3. If the job does not continue, print the card again.\n\n"
              "4. If the printer is locked and the message appears again, call for service.")},
    {1151,
     N_("The printer failed to lock. A lock did not close.\n\n"
        "1. Remove whatever blocks the locks. Close the printer cover and the card hopper.\n\n"
        "2. Lock the printer, or ask your administrator to lock it. If the job does not continue, "
        "print the card again.\n\n"
        "3. If the problem continues, power off the printer with its power button, then power it "
        "on again. If the job does not continue, print the card again.\n\n"
        "4. If that does not help, call for service.")},
    {1152, N_("The printer is waiting for a new card with side 2 up. Side 2 is the second side of "
              "the job.\n\n"
              "1. Insert a new card with side 2 up where the printer takes single cards.\n\n"
              "2. If the card is not picked, press the printer's user button.\n\n"
              "3. If the card is still not picked, remove it. Insert another new card that is "
              "clean and flat.\n\n"
              "4. If the problem continues, call for service.")},
    {1153, N_("The printer is waiting for the same card again, this time with side 2 up. Side 2 is "
              "the second side of the job.\n\n"
              "1. Take the card that the printer returned last. Do not use a new card. If you "
              "cannot find that card, give up this job and send it again.\n\n"
              "2. Insert the card with side 2 up where the printer takes single cards.\n\n"
              "3. If the card is not picked, press the printer's user button.\n\n"
              "4. If the problem continues, call for service.")},
    {1166, N_("The C2 supply is out or missing. Its place is under the printer cover.\n"
              "1. Open the printer cover. Do not touch the C2 heated roller. It can be hot.\n"
              "2. If the C2 supply is installed and not used up, push it in until it is seated. "
              "Otherwise install a new one.\n"
              "3. Close the printer cover. If the printer does not continue, press the printer's "
              "user button.\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n"
              "5. If that does not help, call for service.")},
    {1167, N_("The C2 supply was not identified. The printer could not read its tag.\n"
              "1. Open the printer cover. Do not touch the C2 heated roller. It can be hot.\n"
              "2. Remove the C2 supply. If its tag is damaged or missing, use a new C2 supply.\n"
              "3. Push the C2 supply in until it is seated. Close the printer cover. If the job "
              "does not continue, print the card again.\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n"
              "5. If that does not help, install a new C2 supply, or call for service.")},
    {1168,
     N_("The C2 supply is not supported by this printer. It is made for another printer model.\n"
        "1. Open the printer cover. Do not touch the C2 heated roller. It can be hot.\n"
        "2. Remove the C2 supply and install a C2 supply that is made for this printer model.\n"
        "3. Close the printer cover. If the job does not continue, print the card again.\n"
        "4. If the problem continues, ask your supplier which C2 supply the printer supports, or "
        "call for service.")},
    {1170, INSERT_NEW_CARD_SIDE_1_BODY},
    {1171, N_("The printer is waiting for the same card with side 1 up. Side 1 is the first side "
              "of the job.\n"
              "1. Take the card that the printer returned last. Do not use a new card. If you "
              "cannot find that card, give up this job and send it again.\n"
              "2. Insert the card with side 1 up where the printer takes single cards.\n"
              "3. If the card is not picked, press the printer's user button.\n"
              "4. If the problem continues, call for service.")},
    {1172,
     N_("The printer is waiting for the cleaning card. The cleaning card cleans the rollers.\n"
        "1. Take a new cleaning card. Remove its protective sheet, if it has one. Touch it only at "
        "its edges.\n"
        "2. Insert the cleaning card where the printer takes single cards.\n"
        "3. If the cleaning card is not picked, press the printer's user button.\n"
        "4. If the problem continues, call for service.")},
    {1173, N_("Always use the power button to power off the printer.")},
    {1175,
     N_("A C2 supply error occurred. The C2 supply does not move correctly.\n"
        "1. Open the printer cover. Do not touch the C2 heated roller. It can be hot.\n"
        "2. If anything is stuck, close the cover and power off the printer with its power button. "
        "Let hot parts cool for 30 minutes, then open the printer cover. Remove any card and "
        "pieces by hand. Do not use tools. Do not touch the printhead. Reject unfinished cards.\n"
        "3. Wind a loose C2 supply tight. Replace a torn or wrinkled one.\n"
        "4. Close the printer cover. Power on what you powered off. If the job does not continue, "
        "print the card again.\n"
        "5. If the problem continues, call for service.")},
    {1176,
     N_("The type of the C2 supply is not correct for the job.\n"
        "1. If only the setting of the printer driver is wrong, correct it. Then give up this job "
        "and send a corrected one.\n"
        "2. Otherwise open the printer cover. Do not touch the C2 heated roller. It can be hot.\n"
        "3. Install the C2 supply that the job needs. Close the printer cover.\n"
        "4. If the job does not continue, print the card again.\n"
        "5. If the problem continues, call for service.")},
    {1177, N_("The laminator is not available. The printer does not have one or does not find it.\n"
              "1. If the printer has no laminator, select another printer or remove the lamination "
              "from the job. Then give up this job and send a corrected one.\n"
              "2. Otherwise power off the printer with its power button, and the laminator if it "
              "has a power switch.\n"
              "3. Make sure that the laminator is attached and that its cable is connected. Power "
              "on the printer and the laminator.\n"
              "4. If the job does not continue, print the card again.\n"
              "5. If the problem continues, call for service.")},
    {1178,
     N_("A card is blocking the exit sensors. They are at the card exit.\n"
        "1. Remove all cards from the output hopper. If a card sticks out of the card exit, pull "
        "it out by hand. Do not use tools.\n"
        "2. If you see no card or cannot pull it out, power off the printer with its power button. "
        "Let hot parts cool for 30 minutes, then open the printer cover. Remove any card by hand. "
        "Do not use tools. Do not touch the printhead.\n"
        "3. Reject unfinished cards. Close the printer cover. Power on what you powered off. If "
        "the job does not continue and you did not find the card finished, print it again.\n"
        "4. If the problem continues, call for service.")},
    {1179,
     N_("The card was not received. It did not reach the next part of the printer.\n"
        "1. Power off the printer with its power button, and every module that has a power "
        "switch.\n"
        "2. Make sure that every module is attached without a gap and that its cable is "
        "connected.\n"
        "3. Let hot parts cool for 30 minutes, then open the printer cover.\n"
        "4. Remove any card by hand. Do not use tools. Do not touch the printhead. Reject "
        "unfinished cards.\n"
        "5. Close the printer cover, then power on the modules and the printer.\n"
        "6. If the job does not continue and you did not find the card finished, print it again.\n"
        "7. If the problem continues, call for service.")},
    {1195,
     N_("The card was not dispensed. It did not leave the printer.\n"
        "1. Remove all cards from the output hopper and whatever blocks the card exit. If a card "
        "sticks out of the card exit, pull it out by hand. Do not use tools.\n"
        "2. If you see no card or cannot pull it out, power off the printer with its power button. "
        "Let hot parts cool for 30 minutes, then open the printer cover. Remove any card by hand. "
        "Do not use tools. Do not touch the printhead.\n"
        "3. Reject unfinished cards. Close the printer cover. Power on what you powered off. If "
        "the job does not continue and you did not find the card finished, print it again.\n"
        "4. If the problem continues, call for service.")},
    {1196, N_("A critical laminator error stopped the laminator. A part of the laminator does not "
              "work correctly.\n"
              "1. Power off the printer with its power button, and the laminator if it has a power "
              "switch.\n"
              "2. Wait 30 seconds, then power on the printer and the laminator.\n"
              "3. If the job does not continue, print the card again.\n"
              "4. If the problem continues, power off the printer and the laminator, leave them "
              "off and call for service.")},
    {1197, LAMINATOR_ENTRY_EXIT_BODY},
    {1198,
     N_("A card problem occurred in the L1 area of the laminator. The card did not move "
        "correctly.\n"
        "1. Power off the printer with its power button, and the laminator if it has a power "
        "switch. Let the heated rollers cool for 30 minutes, then open the laminator cover.\n"
        "2. Remove the L1 supply. Then remove any card from the L1 area by hand. Do not use tools. "
        "Reject unfinished cards.\n"
        "3. Install the L1 supply, or a new one if torn. Make sure that it is tight. Close the "
        "laminator cover, then power on the printer and the laminator.\n"
        "4. If the job does not continue and you did not find the card finished, print it again.\n"
        "5. If the problem continues, call for service.")},
    {1199,
     N_("A card problem occurred in the L2 area of the laminator. The card did not move "
        "correctly.\n"
        "1. Power off the printer with its power button, and the laminator if it has a power "
        "switch. Let the heated rollers cool for 30 minutes, then open the laminator cover.\n"
        "2. Remove the L2 supply. Then remove any card from the L2 area by hand. Do not use tools. "
        "Reject unfinished cards.\n"
        "3. Install the L2 supply, or a new one if torn. Make sure that it is tight. Close the "
        "laminator cover, then power on the printer and the laminator.\n"
        "4. If the job does not continue and you did not find the card finished, print it again.\n"
        "5. If the problem continues, call for service.")},
    {1200, LAMINATOR_ENTRY_EXIT_BODY},
    {1201, N_("The L1 supply has a problem. It does not move correctly.\n"
              "1. Open the laminator cover. Do not reach past the supply. The heated rollers can "
              "be hot.\n"
              "2. If anything is stuck, close the cover and power off the printer with its power "
              "button, and the laminator if it has a power switch. Let the heated rollers cool for "
              "30 minutes, then open the laminator cover. Remove any card and pieces by hand. Do "
              "not use tools. Reject unfinished cards.\n"
              "3. Wind a loose supply tight. Replace a torn or wrinkled one.\n"
              "4. Close the laminator cover. Power on what you powered off. If the job does not "
              "continue, print the card again.\n"
              "5. If the problem continues, call for service.")},
    {1202, LAMINATOR_SUPPLY_OUT_BODY},
    {1203, LAMINATOR_SUPPLY_TYPE_BODY},
    {1204, LAMINATOR_SUPPLY_TYPE_BODY},
    {1205, LAMINATOR_SUPPLY_TYPE_BODY},
    {1206, N_("The L2 supply has a problem. It does not move correctly.\n"
              "1. Open the laminator cover. Do not reach past the supply. The heated rollers can "
              "be hot.\n"
              "2. If anything is stuck, close the cover and power off the printer with its power "
              "button, and the laminator if it has a power switch. Let the heated rollers cool for "
              "30 minutes, then open the laminator cover. Remove any card and pieces by hand. Do "
              "not use tools. Reject unfinished cards.\n"
              "3. Wind a loose supply tight. Replace a torn or wrinkled one.\n"
              "4. Close the laminator cover. Power on what you powered off. If the job does not "
              "continue, print the card again.\n"
              "5. If the problem continues, call for service.")},
    {1207, LAMINATOR_SUPPLY_OUT_BODY},
    {1208, LAMINATOR_SUPPLY_TYPE_BODY},
    {1209, LAMINATOR_SUPPLY_TYPE_BODY},
    {1210, LAMINATOR_SUPPLY_TYPE_BODY},
    {1211, HEATER_BODY},
    {1212, HEATER_BODY},
    {1213, HEATER_BODY},
    {1214, HEATER_BODY},
    {1215, HEATER_BODY},
    {1216, HEATER_BODY},
    {1217,
     N_("A debow problem occurred. The card could not be made flat.\n"
        "1. Power off the printer with its power button, and the laminator if it has a power "
        "switch. Let the heated rollers cool for 30 minutes, then open the laminator cover.\n"
        "2. Remove any card from the debow unit by hand. Do not use tools. Reject unfinished "
        "cards.\n"
        "3. Close the laminator cover, then power on the printer and the laminator.\n"
        "4. If the job does not continue and you did not find the card finished, print it again.\n"
        "5. If the problem continues, call for service.")},
    {1218, HEATER_BODY},
    {1219, HEATER_BODY},
    {1220, HEATER_BODY},
    {1221, N_("A bar code scanner problem occurred. The bar code of the card was not read.\n"
              "1. If the bar code is dirty, wipe it with a dry, soft cloth. If it is damaged or "
              "missing, use another card.\n"
              "2. Load the card in the correct direction, with the bar code where the bar code "
              "scanner reads it.\n"
              "3. If the job is not set to the type of this bar code, give up this job and send a "
              "corrected one.\n"
              "4. If the job does not continue, print the card again.\n"
              "5. If the problem continues, call for service.")},
    {1222, N_("The firmware versions of the printer and an attached module do not match.\n"
              "1. Power off the printer with its power button, and every module that has a power "
              "switch.\n"
              "2. Wait 30 seconds, then power on the modules and the printer. If the job does not "
              "continue, print the card again.\n"
              "3. If the problem continues, ask your administrator to update the firmware of the "
              "printer and of all modules.\n"
              "4. If that does not help, call for service.")},
    {1223,
     N_("The laminator does not match the printer system: its model or its firmware does not fit.\n"
        "1. If the laminator is made for another printer model, ask your administrator.\n"
        "2. Power off the printer with its power button, and the laminator if it has a power "
        "switch.\n"
        "3. Make sure that the laminator is attached to the printer and that its cable is "
        "connected. Then power on the printer and the laminator. If the job does not continue, "
        "print the card again.\n"
        "4. If the problem continues, ask your administrator to update the firmware of the printer "
        "and the laminator.\n"
        "5. If that does not help, call for service.")},
    {1224,
     N_("The region code of a supply is not valid for this printer. The supply is sold for another "
        "region.\n"
        "1. Find out which supply was replaced last. Do not open a cover yet.\n"
        "2. Power off the printer with its power button, and every module that has a power "
        "switch.\n"
        "3. Let hot parts cool for 30 minutes, then open the cover of the supply. Do not touch the "
        "printhead. Replace the supply with one that is sold for the region of the printer.\n"
        "4. Close all covers, then power on the modules and the printer. If the job does not "
        "continue, print the card again.\n"
        "5. If the problem continues, ask your supplier for the correct supply, or call for "
        "service.")},
    {1225, N_("The rewrite configuration does not match the configuration of the printer.\n"
              "1. Make sure that the correct printer is selected for the job.\n"
              "2. Make sure that the rewrite settings of the printer driver and of the printer are "
              "the same.\n"
              "3. If the job uses rewrite, load rewritable cards.\n"
              "4. Give up this job and send a corrected one.\n"
              "5. If the problem continues, ask your administrator to check the job and the "
              "settings, or call for service.")},
    {1227, N_("The printer is waiting for the C2 heated roller to reach the proper temperature.\n"
              "When the C2 heated roller is ready, printing the card will resume on its own.")},
    {1228,
     N_("A C1 printhead error occurred. The C1 printhead is too hot or does not work correctly.\n"
        "1. Power off the printer with its power button.\n"
        "2. Keep the printer cover closed. Let hot parts cool for 30 minutes, then power on the "
        "printer.\n"
        "3. If the job does not continue, print the card again.\n"
        "4. If the problem continues, power off the printer, leave it off and call for service. Do "
        "not remove the C1 printhead.")},
    {1229,
     N_("A C2 heat sensor error occurred. The temperature of the C2 heated roller cannot be "
        "measured.\n"
        "1. Power off the printer with its power button.\n"
        "2. Keep the printer cover closed. Let hot parts cool for 30 minutes, then power on the "
        "printer.\n"
        "3. If the job does not continue, print the card again.\n"
        "4. If the problem continues, power off the printer, leave it off and call for service.")},
    {1230,
     N_("A C2 heater error occurred. The C2 heated roller did not reach the proper temperature.\n"
        "1. Make sure that the printer stands in a room that is not cold and has no strong draft.\n"
        "2. Power off the printer with its power button.\n"
        "3. Keep the printer cover closed. Let hot parts cool for 30 minutes, then power on the "
        "printer.\n"
        "4. If the job does not continue, print the card again.\n"
        "5. If the problem continues, power off the printer, leave it off and call for service.")},
    {1231,
     N_("A C2 heated roller motion error occurred. The C2 heated roller did not turn correctly.\n"
        "1. Power off the printer with its power button. Let hot parts cool for 30 minutes, then "
        "open the printer cover.\n"
        "2. Remove any card and any loose C2 supply by hand. Do not use tools. Do not touch the "
        "printhead. Reject unfinished cards.\n"
        "3. If the C2 supply is torn, install a new one.\n"
        "4. Close the printer cover, then power on the printer.\n"
        "5. If the job does not continue, print the card again.\n"
        "6. If the problem continues, call for service.")},
    {1232,
     N_("A retransfer debow error occurred. The card could not be made flat after the retransfer.\n"
        "1. Power off the printer with its power button. Let hot parts cool for 30 minutes, then "
        "open the printer cover.\n"
        "2. Remove any card by hand. Do not use tools. Do not touch the printhead. Reject "
        "unfinished cards.\n"
        "3. Close the printer cover, then power on the printer.\n"
        "4. If the job does not continue and you did not find the card finished, print it again.\n"
        "5. If the problem continues, call for service.")},
    {1233, N_("The smart card contact failed. The smart card station could not connect to the chip "
              "of the card.\n"
              "1. Load cards that have a chip, with the chip on the correct side.\n"
              "2. If the chip is dirty, wipe it with a dry, soft cloth. If it is damaged, reject "
              "the card and load a new one.\n"
              "3. If the job does not continue, print the card again.\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n"
              "5. If that does not help, call for service.")},
    {1234,
     N_("A card is jammed in the K1 transport. The K1 transport is under the printer cover.\n"
        "1. Power off the printer with its power button. Let hot parts cool for 30 minutes, then "
        "open the printer cover.\n"
        "2. Remove all cards from the K1 transport by hand. Do not use tools. Do not touch the "
        "printhead. Reject unfinished cards.\n"
        "3. Close the printer cover, then power on the printer.\n"
        "4. If the job does not continue and you did not find the card finished, print it again.\n"
        "5. If the problem continues, call for service.")},
    {1235,
     N_("A card is jammed in the K2 transport. The K2 transport is under the printer cover.\n"
        "1. Power off the printer with its power button. Let hot parts cool for 30 minutes, then "
        "open the printer cover.\n"
        "2. Remove all cards from the K2 transport by hand. Do not use tools. Do not touch the "
        "printhead. Reject unfinished cards.\n"
        "3. Close the printer cover, then power on the printer.\n"
        "4. If the job does not continue and you did not find the card finished, print it again.\n"
        "5. If the problem continues, call for service.")},
    {1236,
     N_("A flipper module rotate error occurred. The flipper module could not turn the card.\n"
        "1. Power off the printer with its power button. Let hot parts cool for 30 minutes, then "
        "open the printer cover.\n"
        "2. Remove any card from the flipper module by hand. Do not use tools. Do not touch the "
        "printhead. Do not force the flipper module. Reject unfinished cards.\n"
        "3. Close the printer cover, then power on the printer.\n"
        "4. Load flat cards of the thickness that the printer requires. If the job does not "
        "continue and you did not find the card finished, print it again.\n"
        "5. If the problem continues, call for service.")},
    {1237, N_("The C1 supply is out or missing. Its place is under the printer cover.\n"
              "1. Open the printer cover. Do not touch the C1 printhead. It can be hot.\n"
              "2. If the C1 supply is installed and not used up, push it in until it is seated. "
              "Otherwise install a new one.\n"
              "3. Close the printer cover. If the printer does not continue, press the printer's "
              "user button.\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n"
              "5. If that does not help, call for service.")},
    {1238, N_("The C1 supply was not identified. The printer could not read its tag.\n"
              "1. Open the printer cover. Do not touch the C1 printhead. It can be hot.\n"
              "2. Remove the C1 supply. If its tag is damaged or missing, use a new C1 supply.\n"
              "3. Push the C1 supply in until it is seated. Close the printer cover. If the job "
              "does not continue, print the card again.\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n"
              "5. If that does not help, install a new C1 supply, or call for service.")},
    {1239,
     N_("The C1 supply is not supported by this printer. It is made for another printer model.\n"
        "1. Open the printer cover. Do not touch the C1 printhead. It can be hot.\n"
        "2. Remove the C1 supply and install a C1 supply that is made for this printer model.\n"
        "3. Close the printer cover. If the job does not continue, print the card again.\n"
        "4. If the problem continues, ask your supplier which C1 supply the printer supports, or "
        "call for service.")},
    {1240,
     N_("A C1 supply error occurred. The C1 supply does not move correctly.\n"
        "1. Open the printer cover. Do not touch the C1 printhead. It can be hot.\n"
        "2. If anything is stuck, close the cover and power off the printer with its power button. "
        "Let hot parts cool for 30 minutes, then open the printer cover. Remove any card and "
        "pieces by hand. Do not use tools. Do not touch the printhead. Reject unfinished cards.\n"
        "3. Wind a loose C1 supply tight. Replace a torn or wrinkled one.\n"
        "4. Close the printer cover. Power on what you powered off. If the job does not continue, "
        "print the card again.\n"
        "5. If the problem continues, call for service.")},
    {1241, N_("The type of the C1 supply is not correct for the job.\n"
              "1. If only the setting of the printer driver is wrong, correct it. Then give up "
              "this job and send a corrected one.\n"
              "2. Otherwise open the printer cover. Do not touch the C1 printhead. It can be hot.\n"
              "3. Install the C1 supply that the job needs. Close the printer cover.\n"
              "4. If the job does not continue, print the card again.\n"
              "5. If the problem continues, call for service.")},
    {1242, N_("The RT1 reject tray is full. The job waits.\n"
              "1. Remove all cards from the RT1 reject tray.\n"
              "2. Handle them as your rules for rejected cards say. They can hold personal data.\n"
              "3. Push the RT1 reject tray in until it is seated. If the printer does not "
              "continue, press the printer's user button.\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n"
              "5. If that does not help, call for service.")},
    {1243,
     N_("A card was lost. The printer does not know where the card is.\n"
        "1. Check the output hopper, and the reject tray if the printer has one. If you find the "
        "card finished, do not print it again.\n"
        "2. Power off the printer with its power button. Let hot parts cool for 30 minutes, then "
        "open the printer cover.\n"
        "3. Remove any card by hand. Do not use tools. Do not touch the printhead. Reject "
        "unfinished cards.\n"
        "4. Close the printer cover, then power on the printer.\n"
        "5. If the job does not continue and you did not find the card finished, print it again.\n"
        "6. If the problem continues, call for service.")},
    {1245,
     N_("A configuration error occurred. The settings do not fit the printer and its modules.\n"
        "1. Power off the printer with its power button, and every module that has a power "
        "switch.\n"
        "2. Make sure that every module is attached to the printer and that its cable is "
        "connected.\n"
        "3. Power on the modules and the printer. If the job does not continue, print the card "
        "again.\n"
        "4. If the problem continues, ask your administrator to check the settings of the printer "
        "and of the printer driver.\n"
        "5. If that does not help, call for service.")},
    {1250,
     N_("A card indexer error occurred. The card indexer could not move the card.\n"
        "1. Power off the printer with its power button, and the laser if it has a power switch. "
        "Let the laser cool for 30 minutes, then open the laser cover.\n"
        "2. Remove any card from the card indexer by hand. Do not use tools. Reject unfinished "
        "cards.\n"
        "3. Close the laser cover, then power on the printer and the laser.\n"
        "4. If the job does not continue and you did not find the card finished, print it again.\n"
        "5. If the problem continues, call for service.")},
    {1251, N_("A laser position error occurred. The laser or the card did not reach its position.\n"
              "1. Power off the printer with its power button, and the laser if it has a power "
              "switch. Let the laser cool for 30 minutes, then open the laser cover.\n"
              "2. Remove any card by hand. Do not use tools. Reject unfinished cards.\n"
              "3. Close the laser cover, then power on the printer and the laser. If the job does "
              "not continue, print the card again.\n"
              "4. If the problem continues, ask your administrator whether the laser template "
              "places all its data on the card.\n"
              "5. If that does not help, call for service. Do not adjust the laser yourself.")},
    {1252, N_("There is an error in the Vexlio or image generator template.\n"
              "1. If the job does not name the correct laser template, give up this job and send a "
              "corrected one.\n"
              "2. Otherwise ask your administrator to correct the laser template in Vexlio or the "
              "image generator, and to load it into the laser again.\n"
              "3. If the job does not continue, print the card again.\n"
              "4. If the problem continues, call for service.")},
    {1253, N_("A laser horizontal data error occurred. The data does not fit the width of the "
              "laser template.\n"
              "1. If a text in the job is too long for its field, shorten it. Then give up this "
              "job and send a corrected one.\n"
              "2. Otherwise ask your administrator to make the field wider or the text smaller in "
              "Vexlio, and to load the laser template into the laser again.\n"
              "3. If the job does not continue, print the card again.\n"
              "4. If the problem continues, call for service.")},
    {1254,
     N_("The laser is not available. The printer does not have one, or the laser is not ready.\n"
        "1. If the printer has no laser, select another printer or remove the laser data from the "
        "job. Then give up this job and send a corrected one.\n"
        "2. Otherwise close the laser cover and wait until the laser is ready. If the job does not "
        "continue, print the card again.\n"
        "3. If the problem continues, power off the printer with its power button, and the laser "
        "if it has a power switch. Then power on the printer and the laser. If the job does not "
        "continue, print the card again.\n"
        "4. If that does not help, call for service.")},
    {1255, N_("The laser cover is open. The laser does not work while its cover is open.\n"
              "1. Remove whatever blocks the laser cover. Do not reach into the laser.\n"
              "2. Close the laser cover until it latches. If the printer does not continue, press "
              "the printer's user button.\n"
              "3. If the message stays, open the laser cover and close it again.\n"
              "4. If the problem continues, call for service.")},
    {1256,
     N_("A laser interlock is open. The laser does not work until all interlocks are closed.\n"
        "1. Close all covers and doors of the printer and the laser. If the printer does not "
        "continue, press the printer's user button.\n"
        "2. If the message stays, power off the printer with its power button, and the laser if it "
        "has a power switch.\n"
        "3. Make sure that the laser is attached to the printer without a gap. Then power on the "
        "printer and the laser.\n"
        "4. If the job does not continue, print the card again.\n"
        "5. If the problem continues, call for service. Do not bypass the interlock.")},
    {1257, N_("The laser air filter was not detected.  Install the air filter.")},
    {1258,
     N_("The laser was not detected. The printer cannot find it.\n"
        "1. Power off the printer with its power button, and the laser if it has a power switch.\n"
        "2. Make sure that all cables between the printer and the laser are connected.\n"
        "3. Power on the printer and the laser. Wait until the laser is ready.\n"
        "4. If the job does not continue, print the card again.\n"
        "5. If the problem continues, call for service.")},
    {1259,
     N_("A laser firmware error occurred. The firmware of the laser does not work correctly.\n"
        "1. Power off the printer with its power button, and the laser if it has a power switch.\n"
        "2. Wait 30 seconds, then power on the printer and the laser.\n"
        "3. If the job does not continue, print the card again.\n"
        "4. If the problem continues, ask your administrator to update the firmware of the laser.\n"
        "5. If that does not help, call for service.")},
    {1260,
     N_("A laser control error occurred. The printer cannot control the laser.\n"
        "1. Power off the printer with its power button, and the laser if it has a power switch.\n"
        "2. Make sure that all cables between the printer and the laser are connected.\n"
        "3. Wait 30 seconds, then power on the printer and the laser. Wait until the laser is "
        "ready.\n"
        "4. If the job does not continue, print the card again.\n"
        "5. If the problem continues, call for service.")},
    {1261, N_("The job uses a laser option that is not supported.\n"
              "1. Select a printer that has the option, or ask your administrator to remove the "
              "option from the laser template or from the job.\n"
              "2. Give up this job and send a corrected one.\n"
              "3. If the problem continues, call for service.")},
    {1262, N_("The vision operation failed. The vision system could not find or check the card.\n"
              "1. Load clean cards that are not damaged, in the correct direction. They need the "
              "preprinted picture that the job expects.\n"
              "2. If the job does not continue, print the card again.\n"
              "3. If the problem continues, ask your administrator whether the vision settings of "
              "the job fit the card.\n"
              "4. If that does not help, power off the printer with its power button, then power "
              "it on again. If the job does not continue, print the card again.\n"
              "5. If the problem continues, call for service.")},
    {1263,
     N_("A laser power board error occurred. The power board of the laser does not work "
        "correctly.\n"
        "1. Power off the printer with its power button, and the laser if it has a power switch.\n"
        "2. Wait 30 seconds, then power on the printer and the laser. If the job does not "
        "continue, print the card again.\n"
        "3. If the problem continues, power off the printer and the laser, leave them off and call "
        "for service. Do not open the laser.")},
    {1264,
     N_("A card was lost in the laser. The printer does not know where the card is.\n"
        "1. Check the card output and the reject tray of the laser. Do not reach into the laser. "
        "If you find the card finished, do not print it again.\n"
        "2. Power off the printer with its power button, and the laser if it has a power switch. "
        "Let the laser cool for 30 minutes, then open the laser cover.\n"
        "3. Remove any card by hand. Do not use tools. Reject unfinished cards.\n"
        "4. Close the laser cover, then power on the printer and the laser.\n"
        "5. If the job does not continue and you did not find the card finished, print it again.\n"
        "6. If the problem continues, call for service.")},
    {1265, N_("A card is jammed at the entry of the laser.\n"
              "1. Power off the printer with its power button, and the laser if it has a power "
              "switch. Let the laser cool for 30 minutes, then open the laser cover.\n"
              "2. Remove any card from the entry of the laser by hand. Do not use tools. Reject "
              "unfinished cards.\n"
              "3. Close the laser cover, then power on the printer and the laser.\n"
              "4. Load clean, flat cards. If the job does not continue, print the card again.\n"
              "5. If the problem continues, call for service.")},
    {1266,
     N_("A card is jammed at the exit of the laser.\n"
        "1. Remove all cards from the card output of the laser. Do not reach into the laser.\n"
        "2. Power off the printer with its power button, and the laser if it has a power switch. "
        "Let the laser cool for 30 minutes, then open the laser cover.\n"
        "3. Remove any card from the exit of the laser by hand. Do not use tools. Reject "
        "unfinished cards.\n"
        "4. Close the laser cover, then power on the printer and the laser.\n"
        "5. If the job does not continue and you did not find the card finished, print it again.\n"
        "6. If the problem continues, call for service.")},
    {1267,
     N_("A laser hardware failure occurred. A part of the laser does not work correctly.\n"
        "1. Power off the printer with its power button, and the laser if it has a power switch.\n"
        "2. Wait 30 seconds, then power on the printer and the laser. If the job does not "
        "continue, print the card again.\n"
        "3. If the problem continues, power off the printer and the laser, leave them off and call "
        "for service. Do not open the laser.")},
    {1268, N_("A laser setup error occurred. The laser setup of the job cannot be used.\n"
              "1. If the job does not name the correct laser setup, give up this job and send a "
              "corrected one.\n"
              "2. Otherwise ask your administrator to load the laser setup into the laser again.\n"
              "3. If the job does not continue, print the card again.\n"
              "4. If the problem continues, power off the printer with its power button, and the "
              "laser if it has a power switch. Then power on the printer and the laser. If the job "
              "does not continue, print the card again.\n"
              "5. If that does not help, call for service.")},
    {1269, N_("A laser setup name length error occurred. The name of the laser setup is too long "
              "or is missing.\n"
              "1. If the name is missing in the job, enter it. Then give up this job and send a "
              "corrected one.\n"
              "2. If the name is too long, ask your administrator to shorten it in the laser and "
              "in the job. Then give up this job and send a corrected one.\n"
              "3. If the problem continues, call for service.")},
    {1270, N_("A laser text length error occurred. A text in the job is too long or is missing.\n"
              "1. If a text for the laser is missing, enter it. If it is too long for its field, "
              "shorten it.\n"
              "2. Give up this job and send a corrected one.\n"
              "3. If the text must stay long, ask your administrator to make the field in the "
              "laser template longer.\n"
              "4. If that does not help, call for service.")},
    {1271,
     N_("The card output of the laser is full. The job waits.\n"
        "1. Remove all cards from the card output of the laser. Do not reach into the laser.\n"
        "2. Make sure that no card blocks the opening of the card output.\n"
        "3. If the printer does not continue, press the printer's user button.\n"
        "4. If the problem continues, power off the printer with its power button, and the laser "
        "if it has a power switch. Then power on the printer and the laser. If the job does not "
        "continue and you did not find the card finished, print it again.\n"
        "5. If that does not help, call for service.")},
    {1272,
     N_("The reject tray of the laser is full. The job waits.\n"
        "1. Remove all cards from the reject tray of the laser. Do not reach into the laser.\n"
        "2. Handle them as your rules for rejected cards say. They can hold personal data.\n"
        "3. Make sure that no card blocks the opening of the reject tray. If the printer does not "
        "continue, press the printer's user button.\n"
        "4. If the problem continues, power off the printer with its power button, and the laser "
        "if it has a power switch. Then power on the printer and the laser. If the job does not "
        "continue, print the card again.\n"
        "5. If that does not help, call for service.")},
    {1273,
     N_("An error occurred at the card output of the laser. A card did not come out correctly.\n"
        "1. Remove all cards from the card output of the laser and whatever blocks it. Do not "
        "reach into the laser.\n"
        "2. If you do not find the card or cannot remove it, power off the printer with its power "
        "button, and the laser if it has a power switch. Let the laser cool for 30 minutes, then "
        "open the laser cover. Remove any card by hand. Do not use tools.\n"
        "3. Reject unfinished cards. Close the laser cover. Power on what you powered off. If the "
        "job does not continue and you did not find the card finished, print it again.\n"
        "4. If the problem continues, call for service.")},
    {1274,
     N_("The vision system is not available. The printer does not have one, or it is not ready.\n"
        "1. If the printer has no vision system, select another printer or remove the vision "
        "operation from the job. Then give up this job and send a corrected one.\n"
        "2. Otherwise wait until the printer is ready. If the job does not continue, print the "
        "card again.\n"
        "3. If the problem continues, power off the printer with its power button, then power it "
        "on again. If the job does not continue, print the card again.\n"
        "4. If that does not help, call for service.")},
    {1275, N_("A multi-hopper error occurred. Usually a hopper is not seated, or the multi-hopper "
              "is not closed.\n"
              "1. Unlock and open the multi-hopper. Push every hopper in until it is seated.\n"
              "2. Make sure that the cards in every hopper lie flat.\n"
              "3. Close and lock the multi-hopper. If the printer does not continue, press the "
              "printer's user button.\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n"
              "5. If that does not help, call for service.")},
    {1276, N_("A card is jammed in the multi-hopper.\n"
              "1. Power off the printer with its power button.\n"
              "2. Unlock and open the multi-hopper. Remove the jammed card by hand. Do not use "
              "tools. Reject unfinished cards.\n"
              "3. Remove bent or damaged cards from the hoppers. Load the other cards again.\n"
              "4. Close and lock the multi-hopper, then power on the printer.\n"
              "5. If the job does not continue, print the card again.\n"
              "6. If the problem continues, call for service.")},
    {1277, N_("A multi-hopper pick error occurred. The card was not picked from its hopper.\n"
              "1. Unlock and open the multi-hopper. Remove the cards from the hopper that the job "
              "uses, and separate them.\n"
              "2. Load clean, flat cards of the thickness that the printer requires.\n"
              "3. Close and lock the multi-hopper. If the printer does not continue, press the "
              "printer's user button.\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n"
              "5. If that does not help, call for service.")},
    {1300,
     N_("The card was not dispensed. It can still be in the printer.\n"
        "1. Remove all cards from the output hopper and whatever blocks the card exit. If a card "
        "sticks out of the card exit, pull it out by hand. Do not use tools.\n"
        "2. If you see no card or cannot pull it out, power off the printer with its power button. "
        "Let hot parts cool for 30 minutes, then open the printer cover. Remove any card by hand. "
        "Do not use tools. Do not touch the printhead.\n"
        "3. Reject unfinished cards. Close the printer cover. Power on what you powered off. If "
        "the job does not continue and you did not find the card finished, print it again.\n"
        "4. If the problem continues, call for service.")},
    {1301,
     N_("The RIM (rear insertion module) was not detected. The printer cannot find it.\n"
        "1. Power off the printer with its power button, and the RIM if it has a power switch.\n"
        "2. Make sure that the RIM is attached to the rear of the printer and that its cable is "
        "connected.\n"
        "3. Power on the printer and the RIM. If the job does not continue, print the card again.\n"
        "4. If the problem continues, call for service.")},
    {1302,
     N_("A RIM arm error occurred. The arm of the RIM (rear insertion module) did not move "
        "correctly.\n"
        "1. Power off the printer with its power button, and the RIM if it has a power switch. "
        "Wait until nothing moves, then open the RIM door.\n"
        "2. Remove any card or object by hand. Do not use tools. Do not force the arm. Reject "
        "unfinished cards.\n"
        "3. Close the RIM door, then power on the printer and the RIM.\n"
        "4. If the job does not continue and you did not find the card finished, print it again.\n"
        "5. If the problem continues, call for service.")},
    {1303, RIM_ERROR_BODY},
    {1304,
     N_("A RIM supply error occurred. The RIM (rear insertion module) cannot use its supply.\n"
        "1. Power off the printer with its power button, and the RIM if it has a power switch. "
        "Wait until nothing moves, then open the RIM door.\n"
        "2. Remove any card by hand. Do not use tools. Reject unfinished cards.\n"
        "3. If the RIM supply is not damaged and not used up, push it in until it is seated. "
        "Otherwise install a new one.\n"
        "4. Close the RIM door, then power on the printer and the RIM.\n"
        "5. If the job does not continue and you did not find the card finished, print it again.\n"
        "6. If the problem continues, call for service.")},
    {1305,
     N_("A card was lost in the RIM (rear insertion module). The printer does not know where the "
        "card is.\n"
        "1. Check the opening of the RIM and the output hopper. If you find the card finished, do "
        "not print it again.\n"
        "2. Power off the printer with its power button, and the RIM if it has a power switch. "
        "Wait until nothing moves, then open the RIM door.\n"
        "3. Remove any card by hand. Do not use tools. Reject unfinished cards.\n"
        "4. Close the RIM door, then power on the printer and the RIM.\n"
        "5. If the job does not continue and you did not find the card finished, print it again.\n"
        "6. If the problem continues, call for service.")},
    {1306, N_("A card is jammed in the RIM (rear insertion module).\n"
              "1. Power off the printer with its power button, and the RIM if it has a power "
              "switch. Wait until nothing moves, then open the RIM door.\n"
              "2. Remove the jammed card by hand. Do not use tools. Reject unfinished cards.\n"
              "3. Close the RIM door, then power on the printer and the RIM.\n"
              "4. Load clean, flat cards. If the job does not continue and you did not find the "
              "card finished, print it again.\n"
              "5. If the problem continues, call for service.")},
    {1307, N_("A RIM rear pick error occurred. The RIM (rear insertion module) did not pick the "
              "card from the rear.\n"
              "1. Remove the card from the rear. If it is bent or dirty, use another card.\n"
              "2. Insert the card at the rear again. Do not push it with force.\n"
              "3. If the printer does not continue, press the printer's user button.\n"
              "4. If the problem continues, power off the printer with its power button, and the "
              "RIM if it has a power switch. Then power on the printer and the RIM. If the job "
              "does not continue, print the card again.\n"
              "5. If that does not help, call for service.")},
    {1308, N_("A RIM dispense error occurred. The RIM (rear insertion module) could not dispense "
              "the card.\n"
              "1. If a card sticks out of the opening of the RIM, pull it out by hand. Do not use "
              "tools.\n"
              "2. If you see no card or cannot pull it out, power off the printer with its power "
              "button, and the RIM if it has a power switch. Wait until nothing moves, then open "
              "the RIM door. Remove any card by hand. Do not use tools.\n"
              "3. Reject unfinished cards. Close the RIM door. Power on what you powered off. If "
              "the job does not continue and you did not find the card finished, print it again.\n"
              "4. If the problem continues, call for service.")},
    {1309, RIM_ERROR_BODY},
    {1311,
     N_("A card is jammed in the LCM (Light Cure Module).\n"
        "1. Power off the printer with its power button, and the LCM if it has a power switch. Let "
        "the lamp cool for 30 minutes, then open the LCM door.\n"
        "2. Remove the jammed card by hand. Do not use tools. Do not touch the lamp. Reject "
        "unfinished cards.\n"
        "3. Close the LCM door, then power on the printer and the LCM.\n"
        "4. If the job does not continue and you did not find the card finished, print it again.\n"
        "5. If the problem continues, call for service.")},
    {1312,
     N_("A card was lost in the LCM (Light Cure Module). The printer does not know where the card "
        "is.\n"
        "1. Check the output hopper. If you find the card finished, do not print it again.\n"
        "2. Power off the printer with its power button, and the LCM if it has a power switch. Let "
        "the lamp cool for 30 minutes, then open the LCM door.\n"
        "3. Remove any card by hand. Do not use tools. Do not touch the lamp. Reject unfinished "
        "cards.\n"
        "4. Close the LCM door, then power on the printer and the LCM.\n"
        "5. If the job does not continue and you did not find the card finished, print it again.\n"
        "6. If the problem continues, call for service.")},
    {1313,
     N_("An LCM lamp drive problem occurred. The lamp of the LCM (Light Cure Module) does not get "
        "the correct power.\n"
        "1. Power off the printer with its power button, and the LCM if it has a power switch.\n"
        "2. Keep the LCM door closed. Let the lamp cool for 30 minutes, then power on the printer "
        "and the LCM.\n"
        "3. If the job does not continue, print the card again.\n"
        "4. If the problem continues, power off the printer and the LCM, leave them off and call "
        "for service. Do not touch the lamp.")},
    {1314,
     N_("An LCM lamp problem occurred. The lamp of the LCM (Light Cure Module) does not work "
        "correctly.\n"
        "1. Power off the printer with its power button, and the LCM if it has a power switch.\n"
        "2. Keep the LCM door closed. Let the lamp cool for 30 minutes, then power on the printer "
        "and the LCM.\n"
        "3. If the job does not continue, print the card again.\n"
        "4. If the problem continues, call for service to have the lamp replaced. Do not touch the "
        "lamp.")},
    {1315,
     N_("An LCM fan problem occurred. The fan does not cool the LCM (Light Cure Module) "
        "correctly.\n"
        "1. Make sure that nothing blocks the air openings of the LCM.\n"
        "2. Power off the printer with its power button, and the LCM if it has a power switch.\n"
        "3. Keep the LCM door closed. Let the lamp cool for 30 minutes, then power on the printer "
        "and the LCM.\n"
        "4. If the job does not continue, print the card again.\n"
        "5. If the problem continues, power off the printer and the LCM, leave them off and call "
        "for service.")},
    {1316, N_("The LCM door is open. The lamp of the LCM (Light Cure Module) does not work while "
              "the door is open.\n"
              "1. Remove whatever blocks the LCM door. Do not touch the lamp. It can be hot.\n"
              "2. Close the LCM door until it latches. If the printer does not continue, press the "
              "printer's user button.\n"
              "3. If the message stays, open the LCM door and close it again.\n"
              "4. If the problem continues, call for service.")},
    {1317, N_("     ")},
    {1319,
     N_("An LCM comm error occurred. The printer cannot communicate with the LCM (Light Cure "
        "Module).\n"
        "1. Power off the printer with its power button, and the LCM if it has a power switch.\n"
        "2. Make sure that the LCM is attached to the rear of the printer and that its cable is "
        "connected.\n"
        "3. Power on the printer and the LCM. If the job does not continue, print the card again.\n"
        "4. If the problem continues, call for service.")},
    {1320, N_("A rear module error occurred. The module at the rear of the printer does not work "
              "correctly.\n"
              "1. Close the rear module door.\n"
              "2. Power off the printer with its power button, and the rear module if it has a "
              "power switch.\n"
              "3. Make sure that the rear module is attached to the printer and that its cable is "
              "connected.\n"
              "4. Power on the printer and the rear module. If the job does not continue and you "
              "did not find the card finished, print it again.\n"
              "5. If the problem continues, call for service.")},
    {1322, N_("The RIM door is open. It is the door of the RIM (rear insertion module).\n"
              "1. Remove whatever blocks the RIM door. Do not reach into the RIM.\n"
              "2. Close the RIM door until it latches. If the printer does not continue, press the "
              "printer's user button.\n"
              "3. If the message stays, open the RIM door and close it again.\n"
              "4. If the problem continues, call for service.")},
    {1324,
     N_("UV printing is prohibited at 300x300 resolution. The job asks for both.\n"
        "1. Select another resolution in the printer driver, or remove the UV data from the job.\n"
        "2. Give up this job and send a corrected one.\n"
        "3. If the message appears again without UV data, open the printer cover. Do not touch the "
        "printhead. It can be hot. Install a print ribbon without UV. Close the printer cover. If "
        "the job does not continue, print the card again.\n"
        "4. If the problem continues, ask your administrator to check the job and the settings, or "
        "call for service.")},
    {1325, N_("The rear module door is open. Close the rear module door to continue.\n"
              "1. Remove whatever blocks the rear module door. Do not touch hot parts.\n"
              "2. Close the rear module door until it latches. If the printer does not continue, "
              "press the printer's user button.\n"
              "3. If the message stays, open the rear module door and close it again.\n"
              "4. If the problem continues, call for service.")},
    {1326, N_("The rear module door was opened during the job, so the job stopped.\n"
              "1. If a card is left inside, close the rear module door and power off the printer "
              "with its power button, and the rear module if it has a power switch. Let hot parts "
              "cool for 30 minutes, then open the rear module door. Remove the card by hand. Do "
              "not use tools. Reject unfinished cards.\n"
              "2. Close the rear module door until it latches. Power on what you powered off.\n"
              "3. If the job does not continue and you did not find the card finished, print it "
              "again. Keep the rear module door closed during the job.\n"
              "4. If the problem continues, call for service.")},
    {1329, N_("The output hopper is full. The job waits.\n"
              "1. Remove all cards from the output hopper. If a card sticks out of the card exit, "
              "pull it out by hand. Do not use tools.\n"
              "2. Reject unfinished cards. If the printer does not continue, press the printer's "
              "user button.\n"
              "3. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue and you did not find the card "
              "finished, print it again.\n"
              "4. If that does not help, call for service.")},
    {1500, N_("The printer is not available. The computer cannot reach it.\n\n"
              "1. Power on the printer if it is off. Wait until it is ready.\n\n"
              "2. Make sure that the cable between the printer and the computer or the network is "
              "connected.\n\n"
              "3. If the problem continues, power off the printer with its power button, then "
              "power it on again. Also restart the computer.\n\n"
              "4. Wait until the printer is ready, then check the output hopper. If the job does "
              "not continue and you did not find the card finished, print it again.\n\n"
              "5. If that does not help, ask your administrator to check the printer and the "
              "network, or call for service.")},
    {1501, N_("The connection to the printer was lost. The printer can still finish the card.\n\n"
              "1. Power on the printer if it is off. Make sure that its cable is connected at both "
              "ends.\n\n"
              "2. Wait until the printer is ready, then check the output hopper. If the job does "
              "not continue and you did not find the card finished, print it again.\n\n"
              "3. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue and you did not find the card "
              "finished, print it again.\n\n"
              "4. If that does not help, ask your administrator to check the network, or call for "
              "service.")},
    {1502,
     N_("The card data is missing or is not usable: a field is empty, or its data cannot be "
        "printed.\n\n"
        "1. Make sure that every field of the card design that must not be empty contains data.\n\n"
        "2. If other cards print, check this card for characters or pictures that the printer "
        "cannot use.\n\n"
        "3. Correct the data. Give up this job and send a corrected one.\n\n"
        "4. If the problem continues, ask your administrator to check the job and the settings, or "
        "call for service.")},
    {1503,
     N_("The card data is missing or is not usable, so the card cannot be completed.\n\n"
        "1. Make sure that the card design names the correct data for each field.\n\n"
        "2. Make sure that the printer driver is set to the options that the card design uses.\n\n"
        "3. Give up this job and send a corrected one.\n\n"
        "4. If the problem continues, ask your administrator to check the job and the settings, or "
        "call for service.")},
    {1505, N_("A USB communication issue occurred between the printer and the computer.\n\n"
              "1. Make sure that the USB cable is connected at the printer and at the computer.\n\n"
              "2. Connect the USB cable to another port of the computer. Do not use a USB hub.\n\n"
              "3. If the problem continues, replace the USB cable. Power off the printer with its "
              "power button, then power it on again. Also restart the computer.\n\n"
              "4. Wait until the printer is ready, then check the output hopper. If the job does "
              "not continue and you did not find the card finished, print it again.\n\n"
              "5. If the problem continues, call for service.")},
    {1506, N_("A card is currently processing, so the request was not carried out.\n\n"
              "1. Wait until the card is in the output hopper.\n\n"
              "2. Repeat the request when the printer is ready.\n\n"
              "3. If no card leaves the printer after several minutes, power off the printer with "
              "its power button, then power it on again. If the job does not continue, print the "
              "card again. Then repeat the request.\n\n"
              "4. If that does not help, call for service.")},
    {1507, N_("The printer is unlocked. It must be locked to print this job.\n\n"
              "1. Close the printer cover and the card hopper.\n\n"
              "2. Lock the printer, or ask your administrator to lock it.\n\n"
              "3. If the job does not continue, print the card again.\n\n"
              "4. If the problem continues, call for service.")},
    {1508, N_("The printer is shutting down. It cannot print now.\n\n"
              "1. Wait until the printer is off.\n\n"
              "2. Press the power button to power on the printer.\n\n"
              "3. Wait until the printer is ready. If the job does not continue, print the card "
              "again.\n\n"
              "4. If the printer does not start or shuts down again, call for service.")},
    {1509, N_("The printer is offline or suspended. The job waits.\n\n"
              "1. Use the panel or the user button of the printer to set the printer online.\n\n"
              "2. If printing was suspended on the computer, open the print queue and resume "
              "printing.\n\n"
              "3. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n\n"
              "4. If that does not help, call for service.")},
    {1510, N_("The printer is unlocked, so the request was not carried out.\n\n"
              "1. Close the printer cover and the card hopper.\n\n"
              "2. Lock the printer, or ask your administrator to lock it.\n\n"
              "3. Repeat the request.\n\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. Repeat the request.\n\n"
              "5. If that does not help, call for service.")},
    {1518, N_("The printer is unable to print the card. It is not ready, or something is missing.\n"
              "1. Make sure that the printer is ready and shows no other message.\n"
              "2. Make sure that the card hopper has cards and that the supplies are installed. Do "
              "not touch hot parts.\n"
              "3. If the job does not continue, print the card again.\n"
              "4. If the problem continues, power off the printer with its power button, then "
              "power it on again. If the job does not continue, print the card again.\n"
              "5. If that does not help, call for service.")},
    {1519,
     N_("The file import failed. The file was not stored in the printer.\n"
        "1. Make sure that the file is the correct one, has the correct type and is not damaged.\n"
        "2. Close the file in all other programs. Import the file again.\n"
        "3. If the problem continues, power off the printer with its power button, then power it "
        "on again. Import the file again.\n"
        "4. If that does not help, ask your administrator to check the file, or call for "
        "service.")},
    {1520,
     N_("The hopper number in the job is not valid. The printer has no hopper with this number.\n"
        "1. Select a hopper that this printer has.\n"
        "2. Make sure that the printer driver is set to the number of hoppers of the printer.\n"
        "3. Give up this job and send a corrected one.\n"
        "4. If the problem continues, ask your administrator to check the job and the settings, or "
        "call for service.")},
    {1521,
     N_("A job failed because the laser is not ready.\n"
        "1. Close the laser cover and all doors.\n"
        "2. Wait until the laser is ready. If the job does not continue, print the card again.\n"
        "3. If the problem continues, power off the printer with its power button, and the laser "
        "if it has a power switch. Then power on the printer and the laser. If the job does not "
        "continue, print the card again.\n"
        "4. If that does not help, call for service.")},
    {1522, N_("The laser files could not be read. The laser needs them for this job.\n"
              "1. If the job does not name the correct laser files, give up this job and send a "
              "corrected one.\n"
              "2. Otherwise ask your administrator to load the laser files into the laser again.\n"
              "3. If the job does not continue, print the card again.\n"
              "4. If the problem continues, power off the printer with its power button, and the "
              "laser if it has a power switch. Then power on the printer and the laser. If the job "
              "does not continue, print the card again.\n"
              "5. If that does not help, call for service.")},
    {2000, N_("Not supported.")},
}};

constexpr bool is_strictly_ascending_and_complete() {
    for (std::size_t i = 0; i < CATALOGUE.size(); ++i) {
        if (CATALOGUE[i].text == nullptr || (i > 0 && CATALOGUE[i - 1].id >= CATALOGUE[i].id)) {
            return false;
        }
    }
    return true;
}

static_assert(CATALOGUE.size() == 431);
static_assert(is_strictly_ascending_and_complete(),
              "each id once, in ascending order, with a text");

constexpr int NOT_SUPPORTED_BODY = 2000;

// The codes whose title has the code itself as id, and whose body the code + 1000.
void add_explained(std::vector<printer_error_code_mapping_entry>& v, int first, int last) {
    for (int code = first; code <= last; ++code) {
        add_message_map_entry(v, code, code, code + 1000);
    }
}

// Codes of parts that this program does not know; their titles have consecutive ids.
void add_not_supported(std::vector<printer_error_code_mapping_entry>& v, int first, int last,
                       int first_title_id) {
    for (int code = first; code <= last; ++code) {
        add_message_map_entry(v, code, first_title_id + code - first, NOT_SUPPORTED_BODY);
    }
}

} // namespace

std::string get_message_text(int message_id) {
    const auto* entry = std::ranges::lower_bound(CATALOGUE, message_id, {}, &catalogue_entry::id);
    if (entry != CATALOGUE.end() && entry->id == message_id) {
        return gettext(entry->text);
    }
    const std::string unexpected_text_prefix = gettext("UNEXPECTED_TEXT_KEY:");
    return unexpected_text_prefix + std::to_string(message_id);
}

void add_message_map_entry(std::vector<printer_error_code_mapping_entry>& v, int message_num,
                           int title_id, int body_id) {
    printer_error_code_mapping_entry entry;
    entry.printer_error_code = message_num;
    entry.title_text_message_id = title_id;
    entry.body_text_message_id = body_id;
    v.push_back(entry);
}

std::vector<printer_error_code_mapping_entry> build_printer_error_code_mapping() {
    std::vector<printer_error_code_mapping_entry> v;
    add_explained(v, 100, 153);
    add_not_supported(v, 154, 165, IDS_MSG154_NOT_SUPPORTED);
    add_explained(v, 166, 168);
    add_not_supported(v, 169, 169, 169);
    add_explained(v, 170, 173);
    add_not_supported(v, 174, 174, IDS_MSG174_NOT_SUPPORTED);
    add_explained(v, 175, 179);
    add_not_supported(v, 180, 191, IDS_MSG180_NOT_SUPPORTED);
    add_not_supported(v, 192, 194, IDS_MSG192_NOT_SUPPORTED);
    add_explained(v, 195, 225);
    add_explained(v, 227, 243);
    add_not_supported(v, 244, 244, 244);
    add_explained(v, 245, 245);
    add_explained(v, 250, 277);
    add_message_map_entry(v, 278, IDS_INSERT_CLEANING_CARD_IN_H2,
                          IDS_INSERT_CLEANING_CARD_IN_H2_BODY_TEXT);
    add_message_map_entry(v, 298, 298, IDS_OPTION_TAG_SUCCESS_BODYTEXT);
    add_explained(v, 300, 309);
    add_message_map_entry(v, 310, 310, IDS_KIOSK_CARD_LOST_BODYTEXT);
    add_explained(v, 311, 317);
    add_message_map_entry(v, 318, 318, IDS_UV_RIBBON_REQUIRED_LCM_BODYTEXT);
    add_explained(v, 319, 320);
    add_message_map_entry(v, 321, 321, IDS_CARD_NOT_PICKED_REAR_BODYTEXT);
    add_explained(v, 322, 322);
    add_message_map_entry(v, 323, 323, IDS_INSERT_CLEANING_CARD_2_BODYTEXT);
    add_explained(v, 324, 326);
    add_explained(v, 329, 329);
    add_message_map_entry(v, 343, IDS_UNLOAD_HOPPER_1, IDS_UNLOAD_HOPPER_1_BODYTEXT);
    add_message_map_entry(v, 344, IDS_UNLOAD_HOPPER_2, IDS_UNLOAD_HOPPER_2_BODYTEXT);
    add_message_map_entry(v, 345, IDS_UNLOAD_HOPPER_3, IDS_UNLOAD_HOPPER_3_BODYTEXT);
    add_explained(v, 500, 503);
    // The same card data is at fault as with 502.
    add_message_map_entry(v, 504, 504, 1502);
    add_explained(v, 505, 510);
    add_explained(v, 518, 522);
    return v;
}

printer_error_code_mapping_entry looked_up_printer_error_strings(int printer_error_code) {
    static const std::vector<printer_error_code_mapping_entry> mapping =
        build_printer_error_code_mapping();
    for (const auto& entry : mapping) {
        if (entry.printer_error_code == printer_error_code) {
            return entry;
        }
    }
    return {};
}
