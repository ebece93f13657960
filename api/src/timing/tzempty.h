/// @file
/// What measuring costs: a call that does nothing, measured like all others.
#pragma once

/// Clocks of an empty call by the method Spread; also kept in tzTool::m_emptyCall. 0, and
/// nothing kept, when a signal came first.
double tzEmptyCall();
