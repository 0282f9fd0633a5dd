#include "HotKeysLib3/PTKeyCodeTable.h"

#include <Qt>
#include <array>
#include <cstring>

namespace spindrel::PTKeyCodeTable {

namespace {

// Stored key codes are positions on the original platform's ANSI keyboard; the XKB names are the
// same positions on a PC keyboard. Its Help key sits where PCs have Insert, Clear where Num Lock is.
constexpr std::array table{
    PTKeyCodeEntry{0, "AC01", Qt::Key_A, false},
    PTKeyCodeEntry{1, "AC02", Qt::Key_S, false},
    PTKeyCodeEntry{2, "AC03", Qt::Key_D, false},
    PTKeyCodeEntry{3, "AC04", Qt::Key_F, false},
    PTKeyCodeEntry{4, "AC06", Qt::Key_H, false},
    PTKeyCodeEntry{5, "AC05", Qt::Key_G, false},
    PTKeyCodeEntry{6, "AB01", Qt::Key_Z, false},
    PTKeyCodeEntry{7, "AB02", Qt::Key_X, false},
    PTKeyCodeEntry{8, "AB03", Qt::Key_C, false},
    PTKeyCodeEntry{9, "AB04", Qt::Key_V, false},
    PTKeyCodeEntry{10, "LSGT", Qt::Key_Less, false},
    PTKeyCodeEntry{11, "AB05", Qt::Key_B, false},
    PTKeyCodeEntry{12, "AD01", Qt::Key_Q, false},
    PTKeyCodeEntry{13, "AD02", Qt::Key_W, false},
    PTKeyCodeEntry{14, "AD03", Qt::Key_E, false},
    PTKeyCodeEntry{15, "AD04", Qt::Key_R, false},
    PTKeyCodeEntry{16, "AD06", Qt::Key_Y, false},
    PTKeyCodeEntry{17, "AD05", Qt::Key_T, false},
    PTKeyCodeEntry{18, "AE01", Qt::Key_1, false},
    PTKeyCodeEntry{19, "AE02", Qt::Key_2, false},
    PTKeyCodeEntry{20, "AE03", Qt::Key_3, false},
    PTKeyCodeEntry{21, "AE04", Qt::Key_4, false},
    PTKeyCodeEntry{22, "AE06", Qt::Key_6, false},
    PTKeyCodeEntry{23, "AE05", Qt::Key_5, false},
    PTKeyCodeEntry{24, "AE12", Qt::Key_Equal, false},
    PTKeyCodeEntry{25, "AE09", Qt::Key_9, false},
    PTKeyCodeEntry{26, "AE07", Qt::Key_7, false},
    PTKeyCodeEntry{27, "AE11", Qt::Key_Minus, false},
    PTKeyCodeEntry{28, "AE08", Qt::Key_8, false},
    PTKeyCodeEntry{29, "AE10", Qt::Key_0, false},
    PTKeyCodeEntry{30, "AD12", Qt::Key_BracketRight, false},
    PTKeyCodeEntry{31, "AD09", Qt::Key_O, false},
    PTKeyCodeEntry{32, "AD07", Qt::Key_U, false},
    PTKeyCodeEntry{33, "AD11", Qt::Key_BracketLeft, false},
    PTKeyCodeEntry{34, "AD08", Qt::Key_I, false},
    PTKeyCodeEntry{35, "AD10", Qt::Key_P, false},
    PTKeyCodeEntry{36, "RTRN", Qt::Key_Return, false},
    PTKeyCodeEntry{37, "AC09", Qt::Key_L, false},
    PTKeyCodeEntry{38, "AC07", Qt::Key_J, false},
    PTKeyCodeEntry{39, "AC11", Qt::Key_Apostrophe, false},
    PTKeyCodeEntry{40, "AC08", Qt::Key_K, false},
    PTKeyCodeEntry{41, "AC10", Qt::Key_Semicolon, false},
    PTKeyCodeEntry{42, "BKSL", Qt::Key_Backslash, false},
    PTKeyCodeEntry{43, "AB08", Qt::Key_Comma, false},
    PTKeyCodeEntry{44, "AB10", Qt::Key_Slash, false},
    PTKeyCodeEntry{45, "AB06", Qt::Key_N, false},
    PTKeyCodeEntry{46, "AB07", Qt::Key_M, false},
    PTKeyCodeEntry{47, "AB09", Qt::Key_Period, false},
    PTKeyCodeEntry{48, "TAB", Qt::Key_Tab, false},
    PTKeyCodeEntry{49, "SPCE", Qt::Key_Space, false},
    PTKeyCodeEntry{50, "TLDE", Qt::Key_QuoteLeft, false},
    PTKeyCodeEntry{51, "BKSP", Qt::Key_Backspace, false},
    PTKeyCodeEntry{53, "ESC", Qt::Key_Escape, false},
    PTKeyCodeEntry{64, "FK17", Qt::Key_F17, false},
    PTKeyCodeEntry{65, "KPDL", Qt::Key_Period, true},
    PTKeyCodeEntry{67, "KPMU", Qt::Key_Asterisk, true},
    PTKeyCodeEntry{69, "KPAD", Qt::Key_Plus, true},
    PTKeyCodeEntry{71, "NMLK", Qt::Key_NumLock, false},
    PTKeyCodeEntry{72, "VOL+", Qt::Key_VolumeUp, false},
    PTKeyCodeEntry{73, "VOL-", Qt::Key_VolumeDown, false},
    PTKeyCodeEntry{74, "MUTE", Qt::Key_VolumeMute, false},
    PTKeyCodeEntry{75, "KPDV", Qt::Key_Slash, true},
    PTKeyCodeEntry{76, "KPEN", Qt::Key_Enter, true},
    PTKeyCodeEntry{78, "KPSU", Qt::Key_Minus, true},
    PTKeyCodeEntry{79, "FK18", Qt::Key_F18, false},
    PTKeyCodeEntry{80, "FK19", Qt::Key_F19, false},
    PTKeyCodeEntry{81, "KPEQ", Qt::Key_Equal, true},
    PTKeyCodeEntry{82, "KP0", Qt::Key_0, true},
    PTKeyCodeEntry{83, "KP1", Qt::Key_1, true},
    PTKeyCodeEntry{84, "KP2", Qt::Key_2, true},
    PTKeyCodeEntry{85, "KP3", Qt::Key_3, true},
    PTKeyCodeEntry{86, "KP4", Qt::Key_4, true},
    PTKeyCodeEntry{87, "KP5", Qt::Key_5, true},
    PTKeyCodeEntry{88, "KP6", Qt::Key_6, true},
    PTKeyCodeEntry{89, "KP7", Qt::Key_7, true},
    PTKeyCodeEntry{90, "FK20", Qt::Key_F20, false},
    PTKeyCodeEntry{91, "KP8", Qt::Key_8, true},
    PTKeyCodeEntry{92, "KP9", Qt::Key_9, true},
    PTKeyCodeEntry{93, "AE13", Qt::Key_yen, false},
    PTKeyCodeEntry{94, "AB11", Qt::Key_Underscore, false},
    PTKeyCodeEntry{96, "FK05", Qt::Key_F5, false},
    PTKeyCodeEntry{97, "FK06", Qt::Key_F6, false},
    PTKeyCodeEntry{98, "FK07", Qt::Key_F7, false},
    PTKeyCodeEntry{99, "FK03", Qt::Key_F3, false},
    PTKeyCodeEntry{100, "FK08", Qt::Key_F8, false},
    PTKeyCodeEntry{101, "FK09", Qt::Key_F9, false},
    PTKeyCodeEntry{103, "FK11", Qt::Key_F11, false},
    PTKeyCodeEntry{105, "FK13", Qt::Key_F13, false},
    PTKeyCodeEntry{106, "FK16", Qt::Key_F16, false},
    PTKeyCodeEntry{107, "FK14", Qt::Key_F14, false},
    PTKeyCodeEntry{109, "FK10", Qt::Key_F10, false},
    PTKeyCodeEntry{111, "FK12", Qt::Key_F12, false},
    PTKeyCodeEntry{113, "FK15", Qt::Key_F15, false},
    PTKeyCodeEntry{114, "INS", Qt::Key_Insert, false},
    PTKeyCodeEntry{115, "HOME", Qt::Key_Home, false},
    PTKeyCodeEntry{116, "PGUP", Qt::Key_PageUp, false},
    PTKeyCodeEntry{117, "DELE", Qt::Key_Delete, false},
    PTKeyCodeEntry{118, "FK04", Qt::Key_F4, false},
    PTKeyCodeEntry{119, "END", Qt::Key_End, false},
    PTKeyCodeEntry{120, "FK02", Qt::Key_F2, false},
    PTKeyCodeEntry{121, "PGDN", Qt::Key_PageDown, false},
    PTKeyCodeEntry{122, "FK01", Qt::Key_F1, false},
    PTKeyCodeEntry{123, "LEFT", Qt::Key_Left, false},
    PTKeyCodeEntry{124, "RGHT", Qt::Key_Right, false},
    PTKeyCodeEntry{125, "DOWN", Qt::Key_Down, false},
    PTKeyCodeEntry{126, "UP", Qt::Key_Up, false},
};

} // namespace

std::span<const PTKeyCodeEntry> entries()
{
    return table;
}

const PTKeyCodeEntry* entryForKeyCode(int32_t keyCode)
{
    for (const auto& entry : table)
        if (entry.keyCode == keyCode)
            return &entry;
    return nullptr;
}

const PTKeyCodeEntry* entryForXkbName(const char* name)
{
    if (!name)
        return nullptr;
    for (const auto& entry : table)
        if (std::strcmp(entry.xkbName, name) == 0)
            return &entry;
    return nullptr;
}

const PTKeyCodeEntry* entryForQtKey(int qtKey, bool keypad)
{
    // Enter is both the keypad's and (without the keypad flag, on some layouts) the main one's.
    if (qtKey == Qt::Key_Enter)
        keypad = true;
    for (const auto& entry : table)
        if (entry.qtKey == qtKey && entry.keypad == keypad)
            return &entry;
    return nullptr;
}

} // namespace spindrel::PTKeyCodeTable
