/* Which of the system's colours can be read on which: themes promise it only for some pairs. */
#pragma once

#include <cstdint>
#include <initializer_list>

namespace window {

/* 0x00BBGGRR, as the system has it. */
using Color = std::uint32_t;

/* From 1 for the same colour to 21 for black on white, by the luminance of the sRGB colours. */
double contrast(Color a, Color b);

/* The first of `wanted` that can be read on `background`, or `otherwise`. */
Color readable_on(Color background, std::initializer_list<Color> wanted, Color otherwise);

}  // namespace window
