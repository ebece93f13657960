/// @file
/// Messages between processes of this program, over pipes.
#pragma once

#include "tzpacket.h"

/// Writes one message whole; what cannot be written is dropped, for then nobody reads.
void tzSend(int file, char kind, const tzPacket& packet);

enum tzReceived { RECEIVED, RECEIVED_END, RECEIVED_NOTHING, RECEIVED_SIGNAL };

/// Waits for one message.
/// @param seconds  how long for each part of it; 0: as long as it takes
/// @return RECEIVED_END when the other end is gone, RECEIVED_NOTHING when the time is over,
///         RECEIVED_SIGNAL when a signal came first
tzReceived tzReceive(int file, double seconds, char& kind, tzPacket& packet);
