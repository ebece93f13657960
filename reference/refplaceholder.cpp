// Replaced by the first real reference source.
