/* The public header as a C99 program sees it: it must compile on its own,
 * and every record must have the layout that an application's own
 * declaration of the same fields at natural alignment gives. Each check is a
 * compile-time array size that turns negative when the layout is wrong. */
#include "velkport.h"

#include <stddef.h>

#define VELK_CHECK(name, condition) typedef char velk_check_##name[(condition) ? 1 : -1]

VELK_CHECK(message_size, sizeof(VelkWindowMessage) == 16);
VELK_CHECK(message_wparam, offsetof(VelkWindowMessage, wParam) == 4);
VELK_CHECK(message_lparam, offsetof(VelkWindowMessage, lParam) == 8);

VELK_CHECK(mid_info_number2, offsetof(MidInfoRecord, infoNumber2) == 10);
VELK_CHECK(mid_info_number1, offsetof(MidInfoRecord, infoNumber1) == 12);
VELK_CHECK(mid_info_number3, offsetof(MidInfoRecord, infoNumber3) == 14);
VELK_CHECK(mid_info_size, sizeof(MidInfoRecord) == 16);

VELK_CHECK(mid_name_length, offsetof(MidRecord, nameLength) == 2);
VELK_CHECK(mid_name, offsetof(MidRecord, name) == 4);
VELK_CHECK(mid_size, offsetof(MidRecord, size) == 14);
VELK_CHECK(mid_data, offsetof(MidRecord, data) == 16);

VELK_CHECK(anim_info_name_length, offsetof(AnimInfoRecord, nameLength) == 20);
VELK_CHECK(anim_info_number1, offsetof(AnimInfoRecord, infoNumber1) == 22);
VELK_CHECK(anim_info_number5, offsetof(AnimInfoRecord, infoNumber5) == 30);
VELK_CHECK(anim_info_ranges, offsetof(AnimInfoRecord, frameRanges) == 32);
VELK_CHECK(anim_info_count, offsetof(AnimInfoRecord, frameRangeCount) == 32 + sizeof(uint16_t*));

VELK_CHECK(anim_name_length, offsetof(AnimRecord, nameLength) == 1);
VELK_CHECK(anim_name, offsetof(AnimRecord, name) == 2);
VELK_CHECK(anim_size, offsetof(AnimRecord, size) == 12);
VELK_CHECK(anim_data, offsetof(AnimRecord, data) == 16);
VELK_CHECK(anim_param_first, offsetof(AnimRecord, animParamFirst) == 16 + sizeof(uint8_t*));
VELK_CHECK(anim_param_last, offsetof(AnimRecord, animParamLast) == 17 + sizeof(uint8_t*));

#if UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
VELK_CHECK(mid_size_lp64, sizeof(MidRecord) == 24);
VELK_CHECK(anim_info_size_lp64, sizeof(AnimInfoRecord) == 48);
VELK_CHECK(anim_size_lp64, sizeof(AnimRecord) == 32);
#endif

/* The exports as a C caller declares pointers to them. */
int main(void) {
    int32_t (*begin)(VelkWindow, uint8_t, uint32_t, int32_t) = velk_BeginThread;
    int32_t (*writeMid)(MidRecord) = velk_WriteMid;
    int32_t (*writeAnim)(AnimRecord) = velk_WriteAnim;
    int32_t (*getAnimInfo)(AnimInfoRecord**) = velk_GetAnimInfo;
    int32_t (*setDevice)(uint8_t, const char*) = velk_SetPortDevice;
    const char* (*version)(void) = velk_GetVersion;
    int (*lastError)(const char**) = velk_GetLastError;
    int (*runCommands)(const char* const*, int) = velk_RunCommands;
    return begin == 0 || writeMid == 0 || writeAnim == 0 || getAnimInfo == 0 || setDevice == 0 ||
           version == 0 || lastError == 0 || runCommands == 0;
}
