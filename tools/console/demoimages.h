#pragma once
// Images of the demo root: the FOI pictures of finished jobs and the PNG writer of the splash.

#include <QByteArray>

namespace fmDemo {

// One of three small JPEGs (96 x 54), in turn by `n`.
QByteArray jpeg(int n);

} // namespace fmDemo
