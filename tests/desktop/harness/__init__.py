"""A private desktop for each test: sandbox, X server, session bus, printer service, a person."""
