"""The version of this package, which is that of the command; the file VERSION of the project decides it."""

VERSION = "1.0.0"
