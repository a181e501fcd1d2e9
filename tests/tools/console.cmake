# Tests of the console program.
