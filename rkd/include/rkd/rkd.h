/// @file rkd.h
/// The whole library.
#pragma once

#include "rkd/rkdcolor.h"
#include "rkd/rkdcore.h"
#include "rkd/rkdi.h"
#include "rkd/rkdjpeg.h"
#include "rkd/rkds.h"
