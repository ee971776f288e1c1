// Pictures of arrays, made of characters, for a terminal that is 80 columns wide and shows UTF-8.
#pragma once

#include <pyx/pyx.h>

#include <ostream>

inline constexpr int terminalWidth = 80;

// Draws a numeric value in the way that suits its shape: a scalar as a number, a row of numbers as a chart, a matrix of
// a few columns as a table, and everything else as pictures of the last two dimensions.
void draw(const Quorvane::Pyx::ZVariantAbi& value, std::ostream& out);
