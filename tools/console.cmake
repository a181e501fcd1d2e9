# The console program fmHistorydbconsole.
