/// @file
/// Plain versions of the library's functions: same names and signatures, in namespace ref.
#pragma once

#include "ref_bands.h"
#include "ref_code2k.h"
#include "ref_color.h"
#include "ref_dct.h"
#include "ref_dxt.h"
#include "ref_huffman.h"
#include "ref_image.h"
#include "ref_levelshift.h"
#include "ref_pct.h"
#include "ref_tiff.h"
#include "ref_wavelet.h"
