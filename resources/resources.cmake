# Icons and images compiled into the program. rcc names the init function after the file,
# qInitResources_fmUI: call Q_INIT_RESOURCE(fmUI) once before the first icon is looked up.
# Drawn by tools/make-icons.sh; the generated files are committed.
target_sources(fmui PRIVATE resources/fmUI.qrc)
