// Placeholder until the subsystem lands; delete when real sources exist.
