/// @file
/// Where in the machine's memory buffers lie. The addresses that a program sees say little about
/// it: which lines of a physically indexed cache two buffers compete for is decided by the pages
/// that the system gives them.
#pragma once

/// Gives what was freed back to the system and stirs the system's free pages, so that buffers
/// allocated from now on lie in other pages than the same buffers before, at the same addresses.
void tzShufflePages();
