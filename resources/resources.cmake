# Icons and images compiled into the program (fmUI.qrc; registered by Q_INIT_RESOURCE(fmUI)).
