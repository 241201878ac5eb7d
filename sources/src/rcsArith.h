/*
 * Arithmetic on bounds. A bare + or - in this library says "cannot overflow here"; where it can, one of these names
 * says what happens: wrap goes round the 32 bits as unsigned arithmetic does, sat stops at the ends of the range.
 */
#ifndef RCS_ARITH_H
#define RCS_ARITH_H

#include <climits>
#include <cstdint>

constexpr int32_t wrapAdd(int32_t a, int32_t b) { return int32_t(uint32_t(a) + uint32_t(b)); }
constexpr int32_t wrapSub(int32_t a, int32_t b) { return int32_t(uint32_t(a) - uint32_t(b)); }
constexpr int32_t wrapMul(int32_t a, int32_t b) { return int32_t(uint32_t(a) * uint32_t(b)); }

constexpr int32_t smallerOf(int32_t a, int32_t b) { return a < b ? a : b; }
constexpr int32_t largerOf(int32_t a, int32_t b) { return a > b ? a : b; }

/// The nearest 32-bit integer.
constexpr int32_t saturate(int64_t wide)
{
  return wide > INT32_MAX ? INT32_MAX : wide < INT32_MIN ? INT32_MIN : int32_t(wide);
}

constexpr int32_t satAdd(int32_t a, int32_t b) { return saturate(int64_t(a) + b); }
constexpr int32_t satSub(int32_t a, int32_t b) { return saturate(int64_t(a) - b); }

/// As satSub, but 0 - INT32_MIN wraps to INT32_MIN.
constexpr int32_t satSubNotFrom0(int32_t a, int32_t b) { return a == 0 ? wrapSub(a, b) : satSub(a, b); }

constexpr int32_t satMul(int32_t a, int32_t b) { return saturate(int64_t(a) * b); }

/// Number of integers in low..high, kept in 32 bits: a range of 2^31 and more wraps.
constexpr int32_t wrapCount(int32_t low, int32_t high) { return wrapAdd(wrapSub(high, low), 1); }

#endif
