// Placeholder source for a layer that has no file of its own yet.
