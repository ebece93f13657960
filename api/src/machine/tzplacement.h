/// @file
/// Where in the machine's memory buffers lie. Which lines of a physically indexed cache two buffers
/// compete for is decided by the pages that the system gives them; which ways of a first-level
/// cache are tried first, by their addresses, and these are the same for all copies of a process.
#pragma once

/// Gives what was freed back to the system and stirs the system's free pages, so that buffers
/// allocated from now on lie in other pages than the same buffers before, and at other addresses.
void tzShufflePages();
