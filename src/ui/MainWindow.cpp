// The main window arrives with the interface.
