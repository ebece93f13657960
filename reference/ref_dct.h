/// @file
/// Plain versions of the transform, quantisation and level-shift functions: the defining sums in
/// double precision, rounded once. Formulas and formats are those of rkdjpeg_dct.h; arguments are
/// trusted. Tables are read from their first 64 entries alone, so any table will do.
#pragma once

#include "rkd/rkdbase.h"

namespace ref {

/// @name Exact transforms, for tests of accuracy
/// 64 values in natural order; src and dst may be the same.
/// @{
void dctForward(const double* src, double* dst);
void dctInverse(const double* src, double* dst);
/// @}

/// @name Table builders: the 64 quantisers as they are, the rest zero
/// @{
RkdStatus rkdiQuantFwdTableInit_JPEG_8u16u(const uint8_t* quantisers, uint16_t* table);
RkdStatus rkdiQuantFwdTableInit_JPEG_16u(const uint16_t* quantisers, uint16_t* table);
RkdStatus rkdiQuantInvTableInit_JPEG_8u16u(const uint8_t* quantisers, uint16_t* table);
RkdStatus rkdiQuantInvTableInit_JPEG_16u(const uint16_t* quantisers, uint16_t* table);
/// @}

/// @name Level shift: exact
/// @{
RkdStatus rkdiAdd128_JPEG_16s8u_C1R(const int16_t* src, int srcStep, uint8_t* dst, int dstStep,
                                    RkdiSize size);
RkdStatus rkdiSub128_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst, int dstStep,
                                    RkdiSize size);
/// @}

/// @name Quantisation: exact
/// @{
RkdStatus rkdiQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table);
RkdStatus rkdiQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table);
/// @}

/// @name Transforms: the library may differ by 1
/// @{
RkdStatus rkdiDCT8x8Fwd_JPEG_16s_C1(const int16_t* src, int16_t* dst);
RkdStatus rkdiDCT8x8Fwd_JPEG_16s_C1I(int16_t* srcDst);
RkdStatus rkdiDCT8x8Inv_JPEG_16s_C1(const int16_t* src, int16_t* dst);
RkdStatus rkdiDCT8x8Inv_JPEG_16s_C1I(int16_t* srcDst);
RkdStatus rkdiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst, const uint16_t* table);
RkdStatus rkdiDCTQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table);
RkdStatus rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1(const int16_t* src, int16_t* dst, int count,
                                                 const uint16_t* table);
RkdStatus rkdiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst, const uint16_t* table);
RkdStatus rkdiDCTQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table);
RkdStatus rkdiDCT8x8FwdLS_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst);
RkdStatus rkdiDCT8x8InvLS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep);
RkdStatus rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst,
                                              const uint16_t* table);
RkdStatus rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                              const uint16_t* table);
RkdStatus rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const uint16_t* src, int srcStep, int16_t* dst,
                                               const uint16_t* table);
RkdStatus rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const int16_t* src, uint16_t* dst, int dstStep,
                                               const uint16_t* table);
RkdStatus rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                  const uint16_t* table);
RkdStatus rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                  const uint16_t* table);
RkdStatus rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                  const uint16_t* table);
RkdStatus rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                   const uint16_t* table);
RkdStatus rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                   const uint16_t* table);
/// @}

}  // namespace ref
