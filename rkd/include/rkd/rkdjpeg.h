/// @file rkdjpeg.h
/// The JPEG part.
#pragma once

#include "rkd/rkdjpeg_bands.h"
#include "rkd/rkdjpeg_codeblock.h"
#include "rkd/rkdjpeg_dct.h"
#include "rkd/rkdjpeg_hdp.h"
#include "rkd/rkdjpeg_huffman.h"
#include "rkd/rkdjpeg_levelshift.h"
#include "rkd/rkdjpeg_mcu.h"
#include "rkd/rkdjpeg_pred.h"
#include "rkd/rkdjpeg_sample.h"
#include "rkd/rkdjpeg_tables.h"
#include "rkd/rkdjpeg_texture.h"
#include "rkd/rkdjpeg_tiff.h"
#include "rkd/rkdjpeg_wavelet.h"
