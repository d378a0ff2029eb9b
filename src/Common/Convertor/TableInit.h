//===- Common/Convertor/TableInit.h - Lists of 256 table entries ---------===//
//
// Internal to libVemlo. VEMLO_TABLE256(t) expands to t[0], t[1], ... t[255],
// so that a class's static C array can be constant-initialised from a table
// computed by a constant expression (no code runs at start-up).
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_SRC_COMMON_CONVERTOR_TABLEINIT_H
#define VEMLO_SRC_COMMON_CONVERTOR_TABLEINIT_H

#define VEMLO_TABLE4(t, i) t[(i)], t[(i) + 1], t[(i) + 2], t[(i) + 3]
#define VEMLO_TABLE16(t, i)                                                                        \
    VEMLO_TABLE4(t, i), VEMLO_TABLE4(t, (i) + 4), VEMLO_TABLE4(t, (i) + 8),                        \
        VEMLO_TABLE4(t, (i) + 12)
#define VEMLO_TABLE64(t, i)                                                                        \
    VEMLO_TABLE16(t, i), VEMLO_TABLE16(t, (i) + 16), VEMLO_TABLE16(t, (i) + 32),                   \
        VEMLO_TABLE16(t, (i) + 48)
#define VEMLO_TABLE256(t)                                                                          \
    VEMLO_TABLE64(t, 0), VEMLO_TABLE64(t, 64), VEMLO_TABLE64(t, 128), VEMLO_TABLE64(t, 192)

#endif // VEMLO_SRC_COMMON_CONVERTOR_TABLEINIT_H
