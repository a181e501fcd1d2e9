// Window-side toolkit: tree framework, delegate, style, message boxes.
