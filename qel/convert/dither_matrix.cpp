// The matrices of the six families of ordered dither, row by row, and the tables that find a matrix by its family. Each
// entry ranks its pixel of the repeating square: in an area that grows brighter, pixels light up in the order of ranks.

#include "qel/convert/itc.h"

// One matrix row a line.
// clang-format off

// 8 x 8: ranks 0 to 63 ------------------------------------------------------------------------------------------------

const unsigned char PItc::m_pbyBayerHi[64] = {
    44, 16, 24, 36, 46, 18, 26, 38,
    48, 0, 8, 56, 50, 2, 10, 58,
    28, 32, 40, 20, 30, 34, 42, 22,
    12, 60, 52, 4, 14, 62, 54, 6,
    47, 19, 27, 39, 45, 17, 25, 37,
    51, 3, 11, 59, 49, 1, 9, 57,
    31, 35, 43, 23, 29, 33, 41, 21,
    15, 63, 55, 7, 13, 61, 53, 5};

const unsigned char PItc::m_pbyMeshHi[64] = {
    0, 2, 5, 9, 14, 20, 27, 35,
    1, 4, 8, 13, 19, 26, 34, 36,
    3, 7, 12, 18, 25, 33, 37, 43,
    6, 11, 17, 24, 32, 38, 44, 49,
    10, 16, 23, 31, 39, 45, 50, 54,
    15, 22, 30, 40, 46, 51, 55, 58,
    21, 29, 41, 47, 52, 56, 59, 61,
    28, 42, 48, 53, 57, 60, 62, 63};

const unsigned char PItc::m_pbySpiralHi[64] = {
    57, 52, 38, 27, 26, 41, 53, 58,
    47, 39, 20, 13, 12, 19, 40, 48,
    33, 21, 9, 3, 2, 8, 18, 34,
    28, 14, 4, 0, 1, 7, 17, 31,
    37, 22, 10, 5, 6, 11, 25, 36,
    51, 44, 23, 15, 16, 24, 43, 50,
    61, 55, 45, 29, 30, 42, 54, 60,
    62, 56, 46, 32, 35, 49, 59, 63};

const unsigned char PItc::m_pbyFattingHi[64] = {
    13, 23, 51, 54, 52, 45, 21, 11,
    33, 49, 40, 26, 24, 38, 47, 31,
    61, 42, 18, 6, 4, 16, 36, 59,
    56, 28, 8, 0, 2, 14, 34, 62,
    53, 44, 20, 10, 12, 22, 50, 55,
    25, 39, 46, 30, 32, 48, 41, 27,
    5, 17, 37, 58, 60, 43, 19, 7,
    3, 15, 35, 63, 57, 29, 9, 1};

const unsigned char PItc::m_pbyHMeshHi[64] = {
    0, 4, 8, 12, 2, 6, 10, 14,
    1, 5, 9, 13, 3, 7, 11, 15,
    16, 20, 24, 28, 18, 22, 26, 30,
    17, 21, 25, 29, 19, 23, 27, 31,
    32, 36, 40, 44, 34, 38, 42, 46,
    33, 37, 41, 45, 35, 39, 43, 47,
    48, 52, 56, 60, 50, 54, 58, 62,
    49, 53, 57, 61, 51, 55, 59, 63};

const unsigned char PItc::m_pbyVMeshHi[64] = {
    0, 1, 16, 17, 32, 33, 48, 49,
    4, 5, 20, 21, 36, 37, 52, 53,
    8, 9, 24, 25, 40, 41, 56, 57,
    12, 13, 28, 29, 44, 45, 60, 61,
    2, 3, 18, 19, 34, 35, 50, 51,
    6, 7, 22, 23, 38, 39, 54, 55,
    10, 11, 26, 27, 42, 43, 58, 59,
    14, 15, 30, 31, 46, 47, 62, 63};

// 4 x 4: ranks 1 to 16 ------------------------------------------------------------------------------------------------

const unsigned char PItc::m_pbyBayerLo[16] = {
    1, 9, 3, 11,
    13, 5, 15, 7,
    4, 12, 2, 10,
    16, 8, 14, 6};

const unsigned char PItc::m_pbyMeshLo[16] = {
    1, 3, 6, 10,
    2, 5, 8, 11,
    4, 9, 13, 15,
    7, 12, 14, 16};

const unsigned char PItc::m_pbySpiralLo[16] = {
    7, 8, 9, 10,
    6, 1, 2, 11,
    5, 4, 3, 12,
    16, 15, 14, 13};

const unsigned char PItc::m_pbyFattingLo[16] = {
    12, 5, 7, 10,
    13, 1, 3, 15,
    8, 9, 11, 6,
    4, 16, 14, 2};

const unsigned char PItc::m_pbyHMeshLo[16] = {
    1, 3, 2, 4,
    5, 7, 6, 8,
    9, 11, 10, 12,
    13, 15, 14, 16};

const unsigned char PItc::m_pbyVMeshLo[16] = {
    1, 7, 9, 13,
    3, 5, 11, 15,
    2, 8, 10, 14,
    4, 6, 12, 16};

// 6 x 6 and 2 x 2: thresholds, four zero bytes behind them; no routine chooses these ----------------------------------

const unsigned char PItc::m_pbyBayerMd[40] = {
    0, 14, 35, 63, 98, 140,
    7, 28, 56, 91, 133, 175,
    21, 49, 84, 126, 168, 210,
    42, 77, 119, 161, 203, 231,
    70, 112, 154, 196, 224, 245,
    105, 147, 189, 217, 238, 252,
    0, 0, 0, 0};

const unsigned char PItc::m_pbyMeshMd[40] = {
    0, 14, 35, 63, 98, 140,
    7, 28, 56, 91, 133, 175,
    21, 49, 84, 126, 168, 210,
    42, 77, 119, 161, 203, 231,
    70, 112, 154, 196, 224, 245,
    105, 147, 189, 217, 238, 252,
    0, 0, 0, 0};

const unsigned char PItc::m_pbySpiralMd[40] = {
    0, 14, 35, 63, 98, 140,
    7, 28, 56, 91, 133, 175,
    21, 49, 84, 126, 168, 210,
    42, 77, 119, 161, 203, 231,
    70, 112, 154, 196, 224, 245,
    105, 147, 189, 217, 238, 252,
    0, 0, 0, 0};

const unsigned char PItc::m_pbyFattingMd[40] = {
    84, 112, 196, 238, 126, 98,
    161, 175, 28, 70, 189, 147,
    224, 56, 0, 14, 42, 210,
    217, 140, 105, 91, 119, 231,
    49, 196, 133, 154, 182, 63,
    21, 77, 245, 203, 35, 7,
    0, 0, 0, 0};

const unsigned char PItc::m_pbyHMeshMd[40] = {
    0, 14, 35, 63, 98, 140,
    7, 28, 56, 91, 133, 175,
    21, 49, 84, 126, 168, 210,
    42, 77, 119, 161, 203, 231,
    70, 112, 154, 196, 224, 245,
    105, 147, 189, 217, 238, 252,
    0, 0, 0, 0};

const unsigned char PItc::m_pbyVMeshMd[40] = {
    0, 14, 35, 63, 98, 140,
    7, 28, 56, 91, 133, 175,
    21, 49, 84, 126, 168, 210,
    42, 77, 119, 161, 203, 231,
    70, 112, 154, 196, 224, 245,
    105, 147, 189, 217, 238, 252,
    0, 0, 0, 0};

const unsigned char PItc::m_pbyBayer2[8] = {
    0, 128,
    64, 192,
    0, 0, 0, 0};

// clang-format on

// By dither type ------------------------------------------------------------------------------------------------------

const unsigned char *const PItc::m_pMethodLo[6] = {m_pbyBayerLo,   m_pbyMeshLo,  m_pbySpiralLo,
                                                   m_pbyFattingLo, m_pbyHMeshLo, m_pbyVMeshLo};
const unsigned char *const PItc::m_pMethodMd[6] = {m_pbyBayerMd,   m_pbyMeshMd,  m_pbySpiralMd,
                                                   m_pbyFattingMd, m_pbyHMeshMd, m_pbyVMeshMd};
const unsigned char *const PItc::m_pMethodHi[6] = {m_pbyBayerHi,   m_pbyMeshHi,  m_pbySpiralHi,
                                                   m_pbyFattingHi, m_pbyHMeshHi, m_pbyVMeshHi};
