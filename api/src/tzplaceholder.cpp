// Replaced by the first real source of the harness.
