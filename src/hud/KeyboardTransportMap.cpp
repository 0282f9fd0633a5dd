#include "hud/KeyboardTransportMap.h"

#include <QKeyEvent>

namespace spindrel {

namespace {

struct KeyPosition
{
    int code;    // the stored numbering
    quint32 xkb; // evdev code + 8, as X11 and Wayland report it
    int qtKey;   // what a US layout types there
};

// The main block of a US keyboard plus the keys a user might bind beside it.
constexpr KeyPosition positions[] = {
    {0, 38, Qt::Key_A},         {1, 39, Qt::Key_S},           {2, 40, Qt::Key_D},
    {3, 41, Qt::Key_F},         {4, 43, Qt::Key_H},           {5, 42, Qt::Key_G},
    {6, 52, Qt::Key_Z},         {7, 53, Qt::Key_X},           {8, 54, Qt::Key_C},
    {9, 55, Qt::Key_V},         {11, 56, Qt::Key_B},          {12, 24, Qt::Key_Q},
    {13, 25, Qt::Key_W},        {14, 26, Qt::Key_E},          {15, 27, Qt::Key_R},
    {16, 29, Qt::Key_Y},        {17, 28, Qt::Key_T},          {18, 10, Qt::Key_1},
    {19, 11, Qt::Key_2},        {20, 12, Qt::Key_3},          {21, 13, Qt::Key_4},
    {22, 15, Qt::Key_6},        {23, 14, Qt::Key_5},          {24, 21, Qt::Key_Equal},
    {25, 18, Qt::Key_9},        {26, 16, Qt::Key_7},          {27, 20, Qt::Key_Minus},
    {28, 17, Qt::Key_8},        {29, 19, Qt::Key_0},          {30, 35, Qt::Key_BracketRight},
    {31, 32, Qt::Key_O},        {32, 30, Qt::Key_U},          {33, 34, Qt::Key_BracketLeft},
    {34, 31, Qt::Key_I},        {35, 33, Qt::Key_P},          {36, 36, Qt::Key_Return},
    {37, 46, Qt::Key_L},        {38, 44, Qt::Key_J},          {39, 48, Qt::Key_Apostrophe},
    {40, 45, Qt::Key_K},        {41, 47, Qt::Key_Semicolon},  {42, 51, Qt::Key_Backslash},
    {43, 59, Qt::Key_Comma},    {44, 61, Qt::Key_Slash},      {45, 57, Qt::Key_N},
    {46, 58, Qt::Key_M},        {47, 60, Qt::Key_Period},     {48, 23, Qt::Key_Tab},
    {49, 65, Qt::Key_Space},    {50, 49, Qt::Key_QuoteLeft},  {51, 22, Qt::Key_Backspace},
    {53, 9, Qt::Key_Escape},    {96, 71, Qt::Key_F5},         {97, 72, Qt::Key_F6},
    {98, 73, Qt::Key_F7},       {99, 69, Qt::Key_F3},         {100, 74, Qt::Key_F8},
    {101, 75, Qt::Key_F9},      {103, 95, Qt::Key_F11},       {109, 76, Qt::Key_F10},
    {111, 96, Qt::Key_F12},     {115, 110, Qt::Key_Home},     {116, 112, Qt::Key_PageUp},
    {117, 119, Qt::Key_Delete}, {118, 70, Qt::Key_F4},        {119, 115, Qt::Key_End},
    {120, 68, Qt::Key_F2},      {121, 117, Qt::Key_PageDown}, {122, 67, Qt::Key_F1},
    {123, 113, Qt::Key_Left},   {124, 114, Qt::Key_Right},    {125, 116, Qt::Key_Down},
    {126, 111, Qt::Key_Up},
};

template <typename Match> const KeyPosition* findPosition(Match match)
{
    for (const KeyPosition& position : positions) {
        if (match(position))
            return &position;
    }
    return nullptr;
}

} // namespace

QVariantMap KeyboardTransportMap::defaultMap()
{
    return {
        {recordName(), 6},      {playName(), 7},  {rewindName(), 8},
        {fastForwardName(), 9}, {stopName(), 11}, {pauseName(), 45},
    };
}

int KeyboardTransportMap::hardwareKeyCode(const QKeyEvent& event)
{
    if (event.nativeScanCode() != 0)
        return hardwareKeyCodeForScanCode(event.nativeScanCode());
    return hardwareKeyCodeForQtKey(event.key());
}

int KeyboardTransportMap::hardwareKeyCodeForScanCode(quint32 xkbKeycode)
{
    const KeyPosition* position =
        findPosition([xkbKeycode](const KeyPosition& p) { return p.xkb == xkbKeycode; });
    return position ? position->code : -1;
}

int KeyboardTransportMap::hardwareKeyCodeForQtKey(int qtKey)
{
    const KeyPosition* position = findPosition([qtKey](const KeyPosition& p) { return p.qtKey == qtKey; });
    return position ? position->code : -1;
}

int KeyboardTransportMap::qtKeyForHardwareKeyCode(int code)
{
    const KeyPosition* position = findPosition([code](const KeyPosition& p) { return p.code == code; });
    return position ? position->qtKey : 0;
}

} // namespace spindrel
