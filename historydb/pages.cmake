# The window's pages (job info, log, export, re-submit) and their window-free helpers.
