// The demo farm root: every file a farm's root holds, made by the family's own writers where it
// has them (globalconfig.ini, clients.ini, clientgroups.ini, users7.dat) and frame by frame for
// the project databases, so that the three old layouts can stand among the current one.
//
// Everything is drawn from one 64-bit generator seeded by the caller; no clock is read. Times are
// seconds since the epoch between kHistoryBegin and kHistoryEnd.

#include "tools/console/demoroot.h"

#include "app/fm.h"
#include "farm/fmclient.h"
#include "farm/fmclientgroups.h"
#include "farm/fmclientlist.h"
#include "farm/fmgconfig.h"
#include "farm/fmusers.h"
#include "jobs/fmjob.h"
#include "jobs/fmjobhistory.h"
#include "foundation/fmjobid.h"
#include "jobs/fmjoblist.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QtEndian>

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

using namespace fmJ;

namespace {

// 2024-11-01 00:00 and 2026-10-30 18:00 UTC: the two years the demo history covers.
constexpr int64_t kHistoryBegin = 1730419200;
constexpr int64_t kHistoryEnd = 1793383200;

// Small JPEGs (96 x 54, baseline, no metadata) used as the FOI images of jobs.
const unsigned char kJpeg_a[] = {
    0xff, 0xd8, 0xff, 0xe0, 0x00, 0x10, 0x4a, 0x46, 0x49, 0x46, 0x00, 0x01, 0x01, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00,
    0xff, 0xdb, 0x00, 0x43, 0x00, 0x0d, 0x09, 0x0a, 0x0b, 0x0a, 0x08, 0x0d, 0x0b, 0x0a, 0x0b, 0x0e, 0x0e, 0x0d, 0x0f, 0x13,
    0x20, 0x15, 0x13, 0x12, 0x12, 0x13, 0x27, 0x1c, 0x1e, 0x17, 0x20, 0x2e, 0x29, 0x31, 0x30, 0x2e, 0x29, 0x2d, 0x2c, 0x33,
    0x3a, 0x4a, 0x3e, 0x33, 0x36, 0x46, 0x37, 0x2c, 0x2d, 0x40, 0x57, 0x41, 0x46, 0x4c, 0x4e, 0x52, 0x53, 0x52, 0x32, 0x3e,
    0x5a, 0x61, 0x5a, 0x50, 0x60, 0x4a, 0x51, 0x52, 0x4f, 0xff, 0xdb, 0x00, 0x43, 0x01, 0x0e, 0x0e, 0x0e, 0x13, 0x11, 0x13,
    0x26, 0x15, 0x15, 0x26, 0x4f, 0x35, 0x2d, 0x35, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f,
    0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f,
    0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0xff, 0xc0,
    0x00, 0x11, 0x08, 0x00, 0x36, 0x00, 0x60, 0x03, 0x01, 0x22, 0x00, 0x02, 0x11, 0x01, 0x03, 0x11, 0x01, 0xff, 0xc4, 0x00,
    0x16, 0x00, 0x01, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04,
    0x06, 0xff, 0xc4, 0x00, 0x18, 0x10, 0x01, 0x01, 0x01, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x13, 0x61, 0x01, 0x12, 0xff, 0xc4, 0x00, 0x16, 0x01, 0x01, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x03, 0xff, 0xc4, 0x00, 0x18, 0x11, 0x01, 0x00, 0x03, 0x01,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x11, 0x12, 0x13, 0x01, 0xff, 0xda, 0x00,
    0x0c, 0x03, 0x01, 0x00, 0x02, 0x11, 0x03, 0x11, 0x00, 0x3f, 0x00, 0xca, 0xcc, 0x9a, 0xc9, 0x93, 0x6d, 0xa3, 0x1a, 0x23,
    0x99, 0x35, 0x93, 0x26, 0x68, 0x51, 0x1c, 0xc9, 0xac, 0x99, 0x33, 0x42, 0x88, 0xe6, 0x4d, 0x64, 0xc9, 0x9a, 0x14, 0x47,
    0x32, 0x6b, 0x26, 0x4c, 0xd0, 0xa2, 0x39, 0x93, 0x59, 0x32, 0x66, 0x85, 0x15, 0x4f, 0x09, 0xe2, 0xb9, 0xe1, 0x3c, 0x41,
    0xa2, 0xba, 0x24, 0x9e, 0x13, 0xc5, 0x73, 0xc2, 0x78, 0x68, 0x51, 0x24, 0xf0, 0x9e, 0x2b, 0x9e, 0x13, 0xc3, 0x42, 0x89,
    0x27, 0x84, 0xf1, 0x5c, 0xf0, 0x9e, 0x1a, 0x14, 0x49, 0x3c, 0x27, 0x8a, 0xe7, 0x84, 0xf0, 0xd0, 0xa2, 0x49, 0xe1, 0x3c,
    0x57, 0x3c, 0x27, 0x86, 0x85, 0x16, 0x4f, 0x09, 0xe2, 0xa9, 0x93, 0x41, 0xa2, 0xba, 0x25, 0x9e, 0x13, 0xc5, 0x53, 0x26,
    0x68, 0x51, 0x2c, 0xf0, 0x9e, 0x2a, 0x99, 0x33, 0x42, 0x89, 0x67, 0x84, 0xf1, 0x54, 0xc9, 0x9a, 0x14, 0x4b, 0x3c, 0x27,
    0x8a, 0xa6, 0x4c, 0xd0, 0xa2, 0x59, 0xe1, 0x3c, 0x55, 0x32, 0x66, 0x85, 0x15, 0xf8, 0xe1, 0xe3, 0x80, 0x92, 0x7a, 0xa2,
    0x0f, 0x1c, 0x3c, 0x70, 0x09, 0xe9, 0x07, 0x8e, 0x1e, 0x38, 0x04, 0xf4, 0x83, 0xc7, 0x0f, 0x1c, 0x02, 0x7a, 0x41, 0xe3,
    0x87, 0x8e, 0x01, 0x3d, 0x20, 0xf1, 0xc3, 0xc7, 0x00, 0x9e, 0x90, 0xff, 0xd9,
};
const unsigned char kJpeg_b[] = {
    0xff, 0xd8, 0xff, 0xe0, 0x00, 0x10, 0x4a, 0x46, 0x49, 0x46, 0x00, 0x01, 0x01, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00,
    0xff, 0xdb, 0x00, 0x43, 0x00, 0x0d, 0x09, 0x0a, 0x0b, 0x0a, 0x08, 0x0d, 0x0b, 0x0a, 0x0b, 0x0e, 0x0e, 0x0d, 0x0f, 0x13,
    0x20, 0x15, 0x13, 0x12, 0x12, 0x13, 0x27, 0x1c, 0x1e, 0x17, 0x20, 0x2e, 0x29, 0x31, 0x30, 0x2e, 0x29, 0x2d, 0x2c, 0x33,
    0x3a, 0x4a, 0x3e, 0x33, 0x36, 0x46, 0x37, 0x2c, 0x2d, 0x40, 0x57, 0x41, 0x46, 0x4c, 0x4e, 0x52, 0x53, 0x52, 0x32, 0x3e,
    0x5a, 0x61, 0x5a, 0x50, 0x60, 0x4a, 0x51, 0x52, 0x4f, 0xff, 0xdb, 0x00, 0x43, 0x01, 0x0e, 0x0e, 0x0e, 0x13, 0x11, 0x13,
    0x26, 0x15, 0x15, 0x26, 0x4f, 0x35, 0x2d, 0x35, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f,
    0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f,
    0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0xff, 0xc0,
    0x00, 0x11, 0x08, 0x00, 0x36, 0x00, 0x60, 0x03, 0x01, 0x22, 0x00, 0x02, 0x11, 0x01, 0x03, 0x11, 0x01, 0xff, 0xc4, 0x00,
    0x16, 0x00, 0x01, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04,
    0x06, 0xff, 0xc4, 0x00, 0x17, 0x10, 0x01, 0x01, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x13, 0x61, 0x01, 0xff, 0xc4, 0x00, 0x17, 0x01, 0x01, 0x01, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x01, 0x04, 0xff, 0xc4, 0x00, 0x15, 0x11, 0x01, 0x01, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x11, 0xff, 0xda, 0x00, 0x0c, 0x03, 0x01,
    0x00, 0x02, 0x11, 0x03, 0x11, 0x00, 0x3f, 0x00, 0xc5, 0xc8, 0x92, 0xe9, 0x12, 0x4d, 0x73, 0x54, 0x32, 0x24, 0xba, 0x44,
    0x8a, 0x54, 0x32, 0x24, 0xba, 0x44, 0x8a, 0x54, 0x32, 0x24, 0xba, 0x44, 0x8a, 0x54, 0x32, 0x24, 0xba, 0x44, 0x8a, 0x54,
    0x32, 0x24, 0xba, 0x44, 0x8a, 0x55, 0xd2, 0xc2, 0x58, 0xbe, 0x58, 0x4b, 0x13, 0x58, 0x82, 0x58, 0x4b, 0x17, 0xcb, 0x09,
    0x61, 0x44, 0x12, 0xc2, 0x58, 0xbe, 0x58, 0x4b, 0x0a, 0x20, 0x96, 0x12, 0xc5, 0xf2, 0xc2, 0x58, 0x51, 0x04, 0xb0, 0x96,
    0x2f, 0x96, 0x12, 0xc2, 0x88, 0x25, 0x84, 0xb1, 0x7c, 0xb0, 0x96, 0x14, 0x5d, 0x22, 0x4b, 0xa4, 0x49, 0x15, 0x28, 0x64,
    0x49, 0x74, 0x89, 0x14, 0x43, 0x22, 0x4b, 0xa4, 0x48, 0xa2, 0x19, 0x12, 0x5d, 0x22, 0x45, 0x10, 0xc8, 0x92, 0xe9, 0x12,
    0x28, 0x86, 0x44, 0x97, 0x48, 0x91, 0x45, 0xd3, 0xe1, 0x3e, 0x03, 0x12, 0x4f, 0x84, 0xf8, 0x00, 0x4f, 0x84, 0xf8, 0x00,
    0x4f, 0x84, 0xf8, 0x00, 0x4f, 0x84, 0xf8, 0x00, 0x4f, 0x84, 0xf8, 0x00, 0xff, 0xd9,
};
const unsigned char kJpeg_c[] = {
    0xff, 0xd8, 0xff, 0xe0, 0x00, 0x10, 0x4a, 0x46, 0x49, 0x46, 0x00, 0x01, 0x01, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00,
    0xff, 0xdb, 0x00, 0x43, 0x00, 0x0d, 0x09, 0x0a, 0x0b, 0x0a, 0x08, 0x0d, 0x0b, 0x0a, 0x0b, 0x0e, 0x0e, 0x0d, 0x0f, 0x13,
    0x20, 0x15, 0x13, 0x12, 0x12, 0x13, 0x27, 0x1c, 0x1e, 0x17, 0x20, 0x2e, 0x29, 0x31, 0x30, 0x2e, 0x29, 0x2d, 0x2c, 0x33,
    0x3a, 0x4a, 0x3e, 0x33, 0x36, 0x46, 0x37, 0x2c, 0x2d, 0x40, 0x57, 0x41, 0x46, 0x4c, 0x4e, 0x52, 0x53, 0x52, 0x32, 0x3e,
    0x5a, 0x61, 0x5a, 0x50, 0x60, 0x4a, 0x51, 0x52, 0x4f, 0xff, 0xdb, 0x00, 0x43, 0x01, 0x0e, 0x0e, 0x0e, 0x13, 0x11, 0x13,
    0x26, 0x15, 0x15, 0x26, 0x4f, 0x35, 0x2d, 0x35, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f,
    0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f,
    0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0x4f, 0xff, 0xc0,
    0x00, 0x11, 0x08, 0x00, 0x36, 0x00, 0x60, 0x03, 0x01, 0x22, 0x00, 0x02, 0x11, 0x01, 0x03, 0x11, 0x01, 0xff, 0xc4, 0x00,
    0x19, 0x00, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x05, 0x04,
    0x00, 0x03, 0x02, 0x06, 0xff, 0xc4, 0x00, 0x1d, 0x10, 0x00, 0x02, 0x03, 0x00, 0x03, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03, 0x01, 0x02, 0x31, 0x11, 0x41, 0x61, 0x21, 0x04, 0xff, 0xc4, 0x00, 0x18, 0x01,
    0x00, 0x03, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x03, 0x04,
    0x02, 0xff, 0xc4, 0x00, 0x16, 0x11, 0x01, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x02, 0x01, 0xff, 0xda, 0x00, 0x0c, 0x03, 0x01, 0x00, 0x02, 0x11, 0x03, 0x11, 0x00, 0x3f, 0x00, 0xf8,
    0xc8, 0x8e, 0x64, 0xa9, 0x2b, 0x38, 0x2a, 0x39, 0x91, 0x04, 0x50, 0xd1, 0x5a, 0xb3, 0xb2, 0x56, 0x5a, 0xa5, 0x1e, 0x11,
    0x42, 0xf4, 0xac, 0xcf, 0x54, 0x6f, 0x2b, 0x4f, 0x87, 0x68, 0x47, 0x85, 0x2a, 0x51, 0x45, 0x53, 0xf3, 0x08, 0xed, 0x98,
    0xe9, 0x47, 0x87, 0x1b, 0xa7, 0xc1, 0x7b, 0x27, 0xe6, 0x13, 0xb5, 0x41, 0x94, 0x03, 0x35, 0x44, 0x4e, 0x5e, 0x8c, 0xb9,
    0x7a, 0x40, 0xea, 0x69, 0x69, 0xa2, 0x0c, 0xe5, 0xe9, 0x2c, 0xc7, 0x12, 0x26, 0xfa, 0x68, 0x7b, 0x63, 0x89, 0x34, 0x4e,
    0x93, 0xda, 0x20, 0x49, 0x10, 0x1d, 0xf9, 0xfa, 0x12, 0xfc, 0xfd, 0x1c, 0xd8, 0xc2, 0x08, 0xa8, 0x92, 0x2a, 0x1f, 0xf9,
    0xfa, 0x12, 0x47, 0x46, 0x5b, 0x75, 0x8b, 0x93, 0x42, 0xd5, 0xa7, 0x98, 0xc2, 0x64, 0x48, 0x8a, 0x66, 0x23, 0x4c, 0xd5,
    0xa6, 0x9e, 0xe9, 0xe2, 0x30, 0x89, 0xd4, 0x15, 0x74, 0xc4, 0xe0, 0x73, 0xe7, 0x42, 0x74, 0x0b, 0x7d, 0x74, 0x35, 0xf5,
    0xd1, 0x47, 0xf6, 0x1a, 0xfe, 0xcd, 0x30, 0x43, 0x1f, 0x1a, 0x1a, 0xf8, 0xd1, 0x37, 0xf6, 0x1a, 0xfe, 0xcd, 0x50, 0xe5,
    0xe5, 0x12, 0x24, 0x8b, 0x05, 0x2e, 0x78, 0xb1, 0x7a, 0x2e, 0x3a, 0xc0, 0x5d, 0x16, 0x11, 0x45, 0xc1, 0xd3, 0x72, 0xe4,
    0xb0, 0xcd, 0x58, 0xe8, 0xca, 0x58, 0x59, 0x47, 0x71, 0x1a, 0x0c, 0xb6, 0xfa, 0x51, 0x57, 0x10, 0xd9, 0x32, 0x37, 0x77,
    0x31, 0xa4, 0x6e, 0x66, 0x9c, 0xac, 0xe2, 0x76, 0x37, 0xd0, 0x99, 0x0f, 0x2f, 0xbe, 0x87, 0x3e, 0xda, 0x77, 0x73, 0x34,
    0x85, 0xd7, 0xd2, 0xf1, 0x84, 0x95, 0xf6, 0xd0, 0xd7, 0xc9, 0x63, 0xef, 0xa4, 0x0c, 0x9e, 0x6c, 0x69, 0x8c, 0x72, 0xf0,
    0x52, 0x9b, 0xc9, 0x8c, 0x75, 0xa1, 0x72, 0x6f, 0x25, 0xaa, 0x64, 0x98, 0xc4, 0x68, 0xd5, 0x51, 0xb2, 0x75, 0x86, 0xc9,
    0x8c, 0x4b, 0x70, 0xda, 0x5b, 0x27, 0x2b, 0xb6, 0x4c, 0x60, 0xcc, 0x09, 0x5a, 0xc9, 0x22, 0x6d, 0xe7, 0xe9, 0x8c, 0x56,
    0x49, 0x0b, 0xaf, 0x3f, 0x49, 0x8c, 0x62, 0xd8, 0x4f, 0xff, 0xd9,
};

// splitmix64: a small generator with a good spread from any seed, the same on every machine.
class DemoRng
{
public:
    explicit DemoRng(uint64_t seed) : S(seed ^ 0x6A09E667F3BCC909ull) {}
    uint64_t next()
    {
        uint64_t z = (S += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    // lo..hi, both included.
    int range(int lo, int hi) { return hi <= lo ? lo : lo + int(next() % uint64_t(hi - lo + 1)); }
    int64_t range64(int64_t lo, int64_t hi) { return hi <= lo ? lo : lo + int64_t(next() % uint64_t(hi - lo + 1)); }
    double unit() { return double(next() >> 11) * (1.0 / 9007199254740992.0); }
    bool chance(double p) { return unit() < p; }
    template <class T, size_t N>
    const T& pick(const T (&list)[N]) { return list[next() % N]; }

private:
    uint64_t S;
};

// ---- files

bool writeFile(const QString& path, const QByteArray& bytes, QString& error)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(bytes) != bytes.size()) {
        error = QStringLiteral("Unable to write '%1': %2").arg(path, f.errorString());
        return false;
    }
    return true;
}

bool makeDir(const QString& path, QString& error)
{
    if (QDir().mkpath(path)) return true;
    error = QStringLiteral("Unable to create directory '%1'").arg(path);
    return false;
}

void setTimes(const QString& path, int64_t secs)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadWrite)) return;
    const QDateTime t = QDateTime::fromSecsSinceEpoch(secs, Qt::UTC);
    f.setFileTime(t, QFileDevice::FileModificationTime);
    f.setFileTime(t, QFileDevice::FileAccessTime);
}

// ---- PNG

void pngChunk(QByteArray& out, const char* type, const QByteArray& data)
{
    uchar len[4];
    qToBigEndian<quint32>(quint32(data.size()), len);
    out.append(reinterpret_cast<const char*>(len), 4);
    QByteArray body(type, 4);
    body += data;
    out += body;
    uchar crc[4];
    qToBigEndian<quint32>(quint32(crc32(0, reinterpret_cast<const Bytef*>(body.constData()), uInt(body.size()))), crc);
    out.append(reinterpret_cast<const char*>(crc), 4);
}

// ---- project databases

// The fields that the upgrade of an old layout copies one to one, copied the other way.
#define FM_DEMO_DOWN(F)                                                                           \
    static_assert(sizeof(Old::F) == sizeof(_jobsHistoryDB::F), "field " #F " changed its size"); \
    std::memcpy(reinterpret_cast<char*>(&to) + offsetof(Old, F),                                  \
                reinterpret_cast<const char*>(&from) + offsetof(_jobsHistoryDB, F), sizeof(Old::F));

template <class Old>
void downgrade(const _jobsHistoryDB& from, Old& to, uint16_t historyID, uint16_t historyVersion)
{
    std::memset(static_cast<void*>(&to), 0, sizeof(Old));
    to.BasicsStructID = from.BasicsStructID;
    to.BasicsStructVersion = from.BasicsStructVersion;
    to.SubmitterStructID = from.SubmitterStructID;
    to.HistoryStructID = historyID;
    to.HistoryStructVersion = historyVersion;
    FM_DEMO_DOWN(PathOS)
    FM_DEMO_DOWN(SceneOS)
    FM_DEMO_DOWN(SceneName)
    FM_DEMO_DOWN(SceneDatabaseDir)
    FM_DEMO_DOWN(VersionMinor)
    FM_DEMO_DOWN(Software)
    FM_DEMO_DOWN(Renderer)
    FM_DEMO_DOWN(Version)
    FM_DEMO_DOWN(SoftwareAlias)
    FM_DEMO_DOWN(RenderType)
    FM_DEMO_DOWN(AppValue254)
    FM_DEMO_DOWN(AppValue256)
    FM_DEMO_DOWN(BasicsFlag22)
    FM_DEMO_DOWN(Camera)
    FM_DEMO_DOWN(Layer)
    FM_DEMO_DOWN(Channel)
    FM_DEMO_DOWN(ImageDir)
    FM_DEMO_DOWN(ImageFileNameVariable)
    FM_DEMO_DOWN(ImageFileName)
    FM_DEMO_DOWN(ImageFileNamePost)
    FM_DEMO_DOWN(ImageExtension)
    FM_DEMO_DOWN(ImageFormatFlag)
    FM_DEMO_DOWN(ImageFramePadding)
    FM_DEMO_DOWN(ImageWidth)
    FM_DEMO_DOWN(ImageHeight)
    FM_DEMO_DOWN(ImageSingleOutputFile)
    FM_DEMO_DOWN(BasicsText25)
    FM_DEMO_DOWN(ImageChannelCount)
    FM_DEMO_DOWN(BasicsTags)
    FM_DEMO_DOWN(SeqStart)
    FM_DEMO_DOWN(SeqEnd)
    FM_DEMO_DOWN(SeqStep)
    FM_DEMO_DOWN(SeqFileOffset)
    FM_DEMO_DOWN(BasicsFlag19000)
    FM_DEMO_DOWN(Selected)
    FM_DEMO_DOWN(JobID)
    FM_DEMO_DOWN(UserName)
    FM_DEMO_DOWN(SubmitterText25)
    FM_DEMO_DOWN(CustomSeQName)
    FM_DEMO_DOWN(CustomSHotName)
    FM_DEMO_DOWN(CustomVersionName)
    FM_DEMO_DOWN(DateSend)
    FM_DEMO_DOWN(Color_ID)
    FM_DEMO_DOWN(Priority)
    FM_DEMO_DOWN(ErrorCountHard)
    FM_DEMO_DOWN(ErrorCount)
    FM_DEMO_DOWN(Errors)
    FM_DEMO_DOWN(LogCount)
    FM_DEMO_DOWN(Log)
    FM_DEMO_DOWN(ExecutionTime)
    FM_DEMO_DOWN(TotalPS)
    FM_DEMO_DOWN(TotalGhzHours)
    FM_DEMO_DOWN(DateFinished)
    FM_DEMO_DOWN(FrameCounters)
    FM_DEMO_DOWN(FrameLog)
    FM_DEMO_DOWN(FramesSend)
    FM_DEMO_DOWN(FramesCrashed)
    FM_DEMO_DOWN(FramesAborted)
    FM_DEMO_DOWN(AverageClients)
    FM_DEMO_DOWN(AverageFrameTime)
    FM_DEMO_DOWN(PreviewEnabled)
    // The old layouts hold 25 characters of the project name, fewer outputs and (6.1) 400 clients.
    to.CompanyProjectName = from.CompanyProjectName.toQString();
    std::memcpy(reinterpret_cast<char*>(&to) + offsetof(Old, ImageChannels),
                reinterpret_cast<const char*>(&from) + offsetof(_jobsHistoryDB, ImageChannels), sizeof(Old::ImageChannels));
    std::memcpy(reinterpret_cast<char*>(&to) + offsetof(Old, ClientStats),
                reinterpret_cast<const char*>(&from) + offsetof(_jobsHistoryDB, ClientStats), sizeof(Old::ClientStats));
}
#undef FM_DEMO_DOWN

enum class Layout { Current, Old61, Old62, Old627 };

// Appends frames in the database format: a 64-byte header (magic, compressed and plain size,
// identifier, version), then the record compressed by zlib at its default level.
class FrameWriter
{
public:
    bool open(const QString& path, QString& error)
    {
        File.setFileName(path);
        if (!File.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            error = QStringLiteral("Unable to write '%1': %2").arg(path, File.errorString());
            return false;
        }
        return true;
    }
    bool write(const void* record, uint32_t size, uint16_t id, uint16_t version, QString& error)
    {
        uLongf packed = compressBound(size);
        Buffer.resize(size_t(_JobList::FrameHeaderSize) + packed);
        std::memset(Buffer.data(), 0, size_t(_JobList::FrameHeaderSize));
        if (compress(Buffer.data() + _JobList::FrameHeaderSize, &packed, static_cast<const Bytef*>(record), size) != Z_OK) {
            error = QStringLiteral("Unable to compress a job of '%1'").arg(File.fileName());
            return false;
        }
        std::memcpy(Buffer.data(), _JobList::FrameMagic, 44);
        qToLittleEndian<quint32>(quint32(packed), Buffer.data() + 52);
        qToLittleEndian<quint32>(size, Buffer.data() + 56);
        qToLittleEndian<quint16>(id, Buffer.data() + 60);
        qToLittleEndian<quint16>(version, Buffer.data() + 62);
        const qint64 n = qint64(_JobList::FrameHeaderSize) + qint64(packed);
        if (File.write(reinterpret_cast<const char*>(Buffer.data()), n) != n) {
            error = QStringLiteral("Unable to write '%1': %2").arg(File.fileName(), File.errorString());
            return false;
        }
        return true;
    }
    bool write(const _jobsHistoryDB& record, Layout layout, QString& error)
    {
        switch (layout) {
        case Layout::Old61: {
            auto old = std::make_unique<_OLD61__jobsHistoryDB>();
            downgrade(record, *old, JobHistoryOld61_StructID, 1);
            return write(old.get(), sizeof(*old), JobHistoryOld61_StructID, 1, error);
        }
        case Layout::Old62: {
            auto old = std::make_unique<_OLD62_jobsHistoryDB>();
            downgrade(record, *old, JobHistoryOld62_StructID, 2);
            return write(old.get(), sizeof(*old), JobHistoryOld62_StructID, 2, error);
        }
        case Layout::Old627: {
            auto old = std::make_unique<_OLD627_jobsHistoryDB>();
            downgrade(record, *old, JobHistoryOld62_StructID, 2);
            return write(old.get(), sizeof(*old), JobHistoryOld62_StructID, 2, error);
        }
        case Layout::Current: break;
        }
        return write(&record, sizeof(_jobsHistoryDB), _JobList::FrameID, _JobList::FrameVersion, error);
    }
    void close() { File.close(); }

private:
    QFile File;
    std::vector<Bytef> Buffer;
};

// ---- the farm

struct DemoUser
{
    const char* Name;
    const char* Display;
    bool Supervisor;
};

const DemoUser kUsers[] = {
    {"anna.berg", "Anna Berg", true},      {"jonas.lund", "Jonas Lund", false},  {"mika.sato", "Mika Sato", false},
    {"lucas.moreau", "Lucas Moreau", false}, {"sofia.rossi", "Sofia Rossi", false}, {"erik.dahl", "Erik Dahl", true},
    {"nora.haugen", "Nora Haugen", false}, {"tom.fischer", "Tom Fischer", false}, {"lea.novak", "Lea Novak", false},
    {"ben.carter", "Ben Carter", false},   {"ida.strand", "Ida Strand", false},  {"omar.haddad", "Omar Haddad", false},
    {"render.wrangler", "Render Wrangler", true},
};
constexpr int kUserCount = int(sizeof(kUsers) / sizeof(kUsers[0]));

struct DemoApp
{
    const char* Software;
    const char* Renderer;
    const char* Alias;
    int Version;
    int Minor;        // VersionMinor: three digits after the point
    const char* Dir;  // folder of the scenes in the project
    const char* SceneExt;
    const char* ImageExt;
    int FrameSeconds; // typical render time of a 1080p frame on one node
    bool Gpu;
    int SceneOS;      // the machine family the scenes come from
};

const DemoApp kApps[] = {
    {"Maya", "Arnold", "maya2024", 2024, 200, "maya", ".ma", ".exr", 540, false, 2},
    {"Maya", "Redshift", "maya2024", 2024, 200, "maya", ".mb", ".exr", 150, true, 2},
    {"Houdini", "Karma", "houdini20", 20, 0, "houdini", ".hip", ".exr", 420, false, 2},
    {"Houdini", "Mantra", "houdini20", 20, 0, "houdini", ".hip", ".exr", 780, false, 2},
    {"Cinema 4D", "Redshift", "c4d2024", 2024, 400, "c4d", ".c4d", ".exr", 180, true, 3},
    {"Blender", "Cycles", "blender41", 4, 100, "blender", ".blend", ".png", 240, true, 2},
    {"3ds Max", "V-Ray", "max2024", 2024, 0, "max", ".max", ".exr", 660, false, 1},
    {"3ds Max", "Corona", "max2024", 2024, 0, "max", ".max", ".jpg", 900, false, 1},
    {"Nuke", "Nuke", "nuke15", 15, 10, "comp", ".nk", ".exr", 25, false, 2},
};
constexpr int kAppCount = int(sizeof(kApps) / sizeof(kApps[0]));

const char* const kProjectNames[] = {
    "Aurora_Documentary", "Brightwater_Trailer", "Copperline_Series", "Driftwood_Feature",
    "Emberfall_Cinematic", "Frostgate_Commercial", "Glasshouse_Archviz", "Harbor_Lights_Short",
    "Ironwood_GameTrailer", "Juniper_Museum_VR", "Kestrel_Automotive", "Lanterns_MusicVideo",
    "Meridian_Pilot", "Northwind_Ident", "Orchard_Product", "Polaris_Feature",
};
constexpr int kProjectNameCount = int(sizeof(kProjectNames) / sizeof(kProjectNames[0]));

const char* const kLayers[] = {"beauty", "chars", "env_bg", "fx_smoke", "fx_water", "crowd", "shadow_catcher",
                               "volumes", "holdout", "ao"};
const char* const kTasks[] = {"lighting", "lookdev", "fx", "comp", "layout", "anim"};

struct Resolution
{
    int W, H;
};
const Resolution kResolutions[] = {{1920, 1080}, {2048, 858}, {3840, 2160}, {1998, 1080}, {1080, 1920}};

// A client of the demo farm: name, and what jobs need of it.
struct DemoClient
{
    QString Name;
    int Cores;
    int MHz;
    bool Gpu;
};

struct Farm
{
    QList<DemoClient> Clients;
};

// ---- writers of the farm's configuration

void writeConfig(__FM& fm)
{
    fm.cfgSetS(fmString8_evenSize<100>("nServerName"), fmString<200>("RENDERSRV01"));
    fm.cfgSetS(fmString8_evenSize<100>("nServerIP1"), fmString<200>("10.20.0.5"));
    fm.cfgSetS(fmString8_evenSize<100>("nBackupServerName"), fmString<200>("RENDERSRV02"));
    fm.cfgSetB(fmString8_evenSize<100>("nUseServerIP"), false);
    fm.cfgSetF(fmString8_evenSize<100>("cfgCost"), 0.04f);
    fm.cfgSetS(fmString8_evenSize<100>("cfgLocalDecimalMark"), fmString<200>("."));
    fm.cfgSetI(fmString8_evenSize<100>("jDeleteFinishedAfterDays"), 14);
}

Farm writeClients(__FM& fm, DemoRng& rng, int& clientCount)
{
    using namespace fmC;
    Farm farm;
    fm.createFarmTables();
    _ClientList& list = *fm.ClientList;
    list.clear();

    struct Kind
    {
        const char* Prefix;
        int Count;
        int Cores;
        int MHz;
        int MemoryGB;
        signed char OS;
        uint8_t OSVersion;
        bool Gpu;
        const char* Info;
    };
    static const Kind kinds[] = {
        {"RN", 24, 64, 3100, 256, 2, 61, false, "Rack A, dual EPYC 7543"},
        {"GPU", 6, 32, 4500, 128, 2, 61, true, "Rack B, 2x RTX 6000 Ada"},
        {"WS-", 8, 24, 5600, 128, 1, 110, true, "Artist workstation, RTX 4090"},
        {"MAC-STUDIO-", 3, 24, 3700, 192, 3, 140, true, "Edit suite, M2 Ultra"},
    };
    static const char* const wsNames[] = {"ANNA", "JONAS", "MIKA", "LUCAS", "SOFIA", "NORA", "TOM", "LEA"};
    int listNo = 0;
    for (const Kind& k : kinds) {
        for (int i = 0; i < k.Count; ++i) {
            const int n = list.addClient();
            if (n < 0) break;
            _Client& c = list.Clients[n];
            c.clear();
            QString name = QString::fromLatin1(k.Prefix);
            if (std::strcmp(k.Prefix, "WS-") == 0) name += QLatin1String(wsNames[i % 8]);
            else name += QStringLiteral("%1").arg(i + 1, 3, 10, QLatin1Char('0'));
            c.Status.Name = name;
            c.ListNo = listNo++;
            c.Hardware.Cores = uint8_t(k.Cores);
            c.Hardware.MHz = uint16_t(k.MHz + rng.range(0, 2) * 100);
            c.Hardware.Memory = k.MemoryGB * 1024;
            c.Hardware.OS = k.OS;
            c.Hardware.OSVersion = k.OSVersion;
            c.Hardware.Is64Bit = true;
            c.Hardware.Speed = float(k.Cores) * float(c.Hardware.MHz) / 1000.0f;
            c.CustomInfo = QString::fromLatin1(k.Info);
            // Wake-on-LAN: the adapter's address and the machine's IP in the render VLAN.
            c.WOLMac = QStringLiteral("3cecef%1").arg(uint(rng.next() & 0xFFFFFF), 6, 16, QLatin1Char('0'));
            c.WOLIP = QStringLiteral("10.20.%1.%2").arg(k.OS == 2 ? 1 : 2).arg(listNo + 11);
            // What the client last reported: rendering, idle, or switched off for the night.
            c.Status.ThreadCount = 1;
            c.Status.AvailableMemory = k.MemoryGB * 1024 - rng.range(4, 40) * 1024;
            c.Status.Version = "7.0.10";
            c.Status.Temperature = static_cast<signed char>(rng.range(38, 71));
            c.Status.Thread[0].Status = rng.chance(0.7) ? csRendering : (rng.chance(0.5) ? csIdle : csOff);
            if (k.OS != 2) c.Status.UserName = QString::fromLatin1(kUsers[i % kUserCount].Name);
            // Artists' machines render only outside working hours and give way to their users.
            if (k.OS != 2) c.AbortProcess[0] = "Photoshop";
            farm.Clients.append({name, k.Cores, int(c.Hardware.MHz), k.Gpu});
        }
    }
    clientCount = list.count();
    list.sort_ID_Load();
    return farm;
}

bool writeClientGroups(__FM& fm, const Farm& farm)
{
    using namespace fmC;
    _ClientGroupList& groups = *fm.ClientGroups;
    groups.clear();
    struct G
    {
        const char* Name;
        const char* Prefix;
    };
    static const G defs[] = {{"RenderNodes", "RN"}, {"GPU", "GPU"}, {"Workstations", "WS-"}, {"EditSuite", "MAC-"}};
    for (const G& d : defs) {
        _ClientGroup* g = groups.addGroup(QString::fromLatin1(d.Name));
        if (!g) return false;
        for (int c = 0; c < farm.Clients.size() && c < MaxClients; ++c) {
            const DemoClient& client = farm.Clients[c];
            bool in = client.Name.startsWith(QLatin1String(d.Prefix));
            // GPU jobs run on every machine with a graphics card.
            if (std::strcmp(d.Name, "GPU") == 0) in = client.Gpu;
            g->Place[c].Assigned = in;
        }
    }
    // The first render node relays the group's files to the others.
    groups.Group[0].Place[0].SatelliteMaster = 0;
    return fm.SaveFileClientGroups();
}

bool writeUsers(__FM& fm)
{
    _fmgUserSettingsList& t = *fm.UserSettings;
    t.clear();
    t.GroupCount = 2;
    t.Group[0].Name.set(QStringLiteral("Artists"));
    t.Group[1].Name.set(QStringLiteral("Supervisors"));
    // Artists may do anything with their own jobs and look at the others'; supervisors may do all.
    std::memset(t.Group[0].RightsOwn, 1, sizeof(t.Group[0].RightsOwn));
    for (int r : {6, 7, 9}) t.Group[0].RightsOther[r] = 1;
    std::memset(t.Group[0].RightsProject, 1, 10);
    std::memset(t.Group[1].RightsOwn, 1, sizeof(t.Group[1].RightsOwn));
    std::memset(t.Group[1].RightsOther, 1, sizeof(t.Group[1].RightsOther));
    std::memset(t.Group[1].RightsProject, 1, sizeof(t.Group[1].RightsProject));
    t.Group[1].MiscRights[1] = 1;
    const int64_t created = kHistoryBegin - 40 * 86400;
    for (int i = 0; i < kUserCount; ++i) {
        _fmgUserSettings70& u = t.User[i];
        u.clear();
        u.Name.set(QString::fromLatin1(kUsers[i].Name));
        u.DisplayName.set(QString::fromLatin1(kUsers[i].Display));
        u.GroupName.set(kUsers[i].Supervisor ? QStringLiteral("Supervisors") : QStringLiteral("Artists"));
        u.Enabled1 = true;
        u.Enabled2 = true;
        u.UniqueID = uint16_t(500 + i);
        u.Created.t = created + i * 86400;
        u.Changed.t = created + i * 86400 + 3600;
        std::memcpy(u.RightsOwn, t.Group[kUsers[i].Supervisor ? 1 : 0].RightsOwn, 20);
        std::memcpy(u.RightsOther, t.Group[kUsers[i].Supervisor ? 1 : 0].RightsOther, 20);
        std::memcpy(u.RightsProject, t.Group[kUsers[i].Supervisor ? 1 : 0].RightsProject, 20);
    }
    t.UserCount = int16_t(kUserCount);
    t.NextUniqueID = int16_t(500 + kUserCount);
    t.applyGroupsToUsers();
    return fm.SaveFileUserSettings();
}

// ---- jobs

struct Plan
{
    QString Name;     // project and file name
    QString Company;  // CompanyProjectName of its jobs
    int64_t Begin = 0;
    int64_t End = 0;
    int Jobs = 0;
    int Kind = 0;     // 0 split over "__archive" with all old layouts, 1 ".db61", 2 ".db" with 6.2x frames
    QList<int> Apps;  // indexes of kApps
    QList<int> Team;  // indexes of kUsers
    Resolution Res{1920, 1080};
};

// One line of a job's log before it is written: the job log keeps entries in time order.
struct LogEvent
{
    int64_t Time;
    int16_t Who;
    int8_t Message;
    long long P1, P2, P3;
    int Rendering;
    int FramesLeft;
};

// Message numbers with a text, beside those that every rendered job logs (43, 19, 21, 14, 23):
// one of them goes into each job in turn, so that the demo shows every kind of log line.
const int8_t kExtraMessages[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 13, 15, 17, 18, 20, 22, 24, 25,
                                 26, 27, 28, 29, 30, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 44, 45, 46, 47,
                                 48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 60, 61, 62, 63};
constexpr int kExtraCount = int(sizeof(kExtraMessages));
// Error codes with a text.
const int8_t kErrorCodes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 22, 23};
constexpr int kErrorCount = int(sizeof(kErrorCodes));

class JobMaker
{
public:
    JobMaker(const Farm& farm, DemoRng& rng) : F(farm), R(rng), Job(std::make_unique<_JobSend>()) {}

    // Fills `out` with a finished (or deleted) job of the project sent at `send`.
    void make(const Plan& p, int64_t send, bool olderVersion, _jobsHistoryDB& out);
    bool lastDeleted() const { return LastDeleted; }

private:
    void log(std::vector<LogEvent>& ev, int64_t t, int who, int msg, long long p1, long long p2, long long p3, int rendering,
             int left)
    {
        ev.push_back({t, int16_t(who), int8_t(msg), p1, p2, p3, rendering, left});
    }
    int userIndex(const Plan& p) { return p.Team[R.range(0, int(p.Team.size()) - 1)]; }
    void extraEvent(std::vector<LogEvent>& ev, int8_t msg, const Plan& p, int64_t t, int frames, int client, int left);

    const Farm& F;
    DemoRng& R;
    std::unique_ptr<_JobSend> Job;
    QSet<unsigned long long> Ids;
    unsigned long long PreviousID = 0;
    int ExtraCursor = 0;
    int ErrorCursor = 0;
    bool LastDeleted = false;
};

void JobMaker::extraEvent(std::vector<LogEvent>& ev, int8_t msg, const Plan& p, int64_t t, int frames, int client,
                          int left)
{
    const int a = R.range(0, std::max(0, frames - 1));
    const int b = std::min(frames - 1, a + R.range(0, 9));
    const int user = userIndex(p);
    switch (msg) {
    // Given by a user: the user's number travels in the second parameter.
    case 2: case 3: case 4: case 5: case 6: case 7: case 8: case 9: case 10: case 11: case 22: case 25: case 29:
    case 30: case 33: case 42: case 62:
        log(ev, t, -2, msg, 0, user, 0, 0, left);
        break;
    case 13: log(ev, t, -2, msg, R.range(1, 8), user, R.range(0, 2), 0, left); break;
    case 1: log(ev, t, -1, msg, R.range(1, 6), R.range(6, 12), 1, 0, left); break;
    case 40: log(ev, t, -1, msg, R.range(2, 10), 0, 1, 0, left); break;
    case 20: log(ev, t, -1, msg, R.range(2, 5), R.range(10, 25), 0, 0, left); break;
    case 41: log(ev, t, client, msg, R.range(12, 58), 0, 0, 0, left); break;
    case 18: log(ev, t, -1, msg, R.chance(0.3) ? 9999 : R.range(1, 12), 0, 0, 0, left); break;
    case 57: case 58: log(ev, t, -1, msg, a, R.range(1, 4), R.range(1, 4), 0, left); break;
    case 63: {
        const unsigned id = PreviousID ? ID2ShortID(PreviousID) : 0x00010203u;
        log(ev, t, -1, msg, id & 0xFFFF, id >> 16, 0, 0, left);
        break;
    }
    // A frame range of one client.
    case 15: case 34: case 35: case 36: case 38: case 39: case 44: case 45: case 46: case 47: case 48: case 49:
    case 50: case 51: case 61:
        log(ev, t, client, msg, a, b, R.range(1, 3), 1, left);
        break;
    case 37: log(ev, t, client, msg, 0, 0, 0, 0, left); break;
    default: log(ev, t, -1, msg, 0, 0, 0, 0, left); break;
    }
}

void JobMaker::make(const Plan& p, int64_t send, bool olderVersion, _jobsHistoryDB& out)
{
    _JobSend& j = *Job;
    j.fmClearAll();

    const DemoApp& app = kApps[p.Apps[R.range(0, int(p.Apps.size()) - 1)]];
    const int user = userIndex(p);
    const int seq = R.range(1, 6) * 10;
    const int shot = R.range(1, 24) * 10;
    const int version = R.range(1, 28);
    const char* task = std::strcmp(app.Software, "Nuke") == 0 ? "comp" : R.pick(kTasks);
    const char* layer = std::strcmp(app.Software, "Nuke") == 0 ? "comp" : R.pick(kLayers);
    const QString sq = QStringLiteral("sq%1").arg(seq, 3, 10, QLatin1Char('0'));
    const QString sh = QStringLiteral("sh%1").arg(shot, 4, 10, QLatin1Char('0'));
    const QString ver = QStringLiteral("v%1").arg(version, 3, 10, QLatin1Char('0'));
    const QString projectRoot = QStringLiteral("/mnt/projects/") + p.Name + QLatin1Char('/');

    // Identifier: the second of sending, the machine's two bytes, a counter for the same second.
    IDDecomp d;
    d.Stamp = uint32_t(send);
    d.PartA = uint8_t(R.range(1, 254));
    d.PartB = uint8_t(R.range(1, 254));
    unsigned long long id = d.toID();
    while (Ids.contains(id)) {
        ++d.Counter;
        id = d.toID();
    }
    Ids.insert(id);
    j.JobID = id;

    j.PathOS = 2;
    j.SceneOS = uint8_t(app.SceneOS);
    j.Software = app.Software;
    j.Renderer = app.Renderer;
    j.SoftwareAlias = app.Alias;
    j.RenderType = app.Gpu ? "GPU" : "CPU";
    // Older frames come from the program versions of their time.
    j.Version = int16_t(olderVersion ? app.Version - (app.Version > 100 ? 2 : 1) : app.Version);
    j.VersionMinor = uint32_t(app.Minor);
    j.SceneName = projectRoot + QLatin1String(app.Dir) + QStringLiteral("/scenes/") + sq + QLatin1Char('/') + sh + QLatin1Char('/') +
                  sh + QLatin1Char('_') + QLatin1String(task) + QLatin1Char('_') + ver + QLatin1String(app.SceneExt);
    j.SceneDatabaseDir = projectRoot + QLatin1String(app.Dir) + QLatin1Char('/');
    j.Camera = R.chance(0.8) ? QStringLiteral("cam_") + sh : QStringLiteral("renderCam");
    j.Layer = layer;
    if (R.chance(0.2)) j.Channel = "rgba";
    const QString imageDir = QStringLiteral("/mnt/renders/") + p.Name + QLatin1Char('/') + sq + QLatin1Char('/') + sh + QLatin1Char('/') +
                             ver + QLatin1Char('/') + QLatin1String(layer) + QLatin1Char('/');
    j.ImageDir = imageDir;
    j.ImageFileName = sh + QLatin1Char('_') + QLatin1String(layer) + QLatin1Char('_') + ver + QLatin1Char('.');
    j.ImageFileNameVariable = QStringLiteral("<shot>_<layer>_<version>.");
    j.ImageExtension = app.ImageExt;
    j.ImageFramePadding = 4;
    const bool still = p.Name.startsWith(QLatin1String("Glasshouse")) || p.Name.startsWith(QLatin1String("Orchard"));
    j.ImageWidth = int16_t(still ? p.Res.W * 2 : p.Res.W);
    j.ImageHeight = int16_t(still ? p.Res.H * 2 : p.Res.H);
    j.ImageChannelCount = 1;
    // Lighting renders write their AOVs beside the beauty: outputs of the same pass.
    static const char* const aovs[] = {"diffuse", "specular", "emission", "sss", "crypto_object", "depth", "normals", "motion"};
    if (std::strcmp(task, "lighting") == 0 || std::strcmp(task, "lookdev") == 0) {
        const int n = R.range(2, 8);
        for (int k = 0; k < n; ++k) {
            j.ImageChannels[k].FileName = imageDir.left(imageDir.size() - 1) + QLatin1Char('_') + QLatin1String(aovs[k]) +
                                          QLatin1Char('/') + sh + QLatin1Char('_') + QLatin1String(aovs[k]) + QLatin1Char('_') + ver +
                                          QLatin1Char('.');
            j.ImageChannels[k].Extension = app.ImageExt;
        }
    }

    int frames = still ? R.range(1, 6) : R.range(24, 240);
    if (std::strcmp(app.Software, "Nuke") == 0) frames = R.range(48, 300);
    const double step = (!still && R.chance(0.12)) ? 5.0 : 1.0; // a quick check of every 5th frame
    j.SeqStart = still ? 1.0 : 1001.0;
    j.SeqEnd = j.SeqStart + (frames - 1) * step;
    j.SeqStep = step;
    j.SeqFileOffset = 0.0;

    j.UserName = kUsers[user].Name;
    j.CustomSeQName = sq;
    j.CustomSHotName = sh;
    j.CustomVersionName = ver;
    j.CompanyProjectName = p.Company;
    j.DateSend.t = send;
    j.Color_ID = uint8_t(R.range(0, 7));
    j.Priority = int8_t(R.range(3, 9) * 10);
    j.PreviewEnabled = R.chance(0.5) ? 1 : 0;
    j.SeqDivMIN = uint16_t(R.range(1, 5));
    j.SeqDivMAX = uint16_t(j.SeqDivMIN + R.range(5, 20));
    j.MaxClientsAtATime = uint16_t(R.chance(0.3) ? R.range(4, 12) : 0);
    j.fmClearSend(); // frames of the sequence
    frames = j.FramesTotal > 0 ? j.FramesTotal : 1;

    // The clients that rendered it: GPU renderers run where a graphics card is.
    QList<int> pool;
    for (int c = 0; c < F.Clients.size(); ++c)
        if (!app.Gpu || F.Clients[c].Gpu) pool.append(c);
    const int wanted = std::min<int>(int(pool.size()), std::max(1, std::min(frames, R.range(2, 16))));
    QList<int> used;
    while (used.size() < wanted) {
        const int c = pool[R.range(0, int(pool.size()) - 1)];
        if (!used.contains(c)) used.append(c);
    }

    std::vector<LogEvent> ev;
    log(ev, send + R.range(3, 40), -1, 43, 0, 0, 0, 0, frames);
    const int64_t start = send + R.range(30, 5 * 3600);
    const double complexity = 0.5 + R.unit() * 1.5;
    const double pixels = double(j.ImageWidth) * double(j.ImageHeight) / (1920.0 * 1080.0);

    // Segments of the sequence, handed to the clients in turn; each client works through its own.
    const int segCount = std::min(frames, 80);
    const int segSize = (frames + segCount - 1) / segCount;
    std::vector<int64_t> clock(size_t(used.size()), start);
    double renderSeconds = 0.0, ghzSeconds = 0.0, psSeconds = 0.0;
    int left = frames;
    int64_t lastAssign = start;
    int crashed = 0;
    for (int s = 0, first = 0; first < frames; ++s, first += segSize) {
        const int last = std::min(frames - 1, first + segSize - 1);
        const int n = last - first + 1;
        const size_t k = size_t(s % used.size());
        const DemoClient& c = F.Clients[used[int(k)]];
        const double speed = double(c.Cores) * double(c.MHz) / (64.0 * 3100.0);
        const double perFrame = std::max(4.0, app.FrameSeconds * pixels * complexity / std::max(0.2, speed));
        const int64_t t0 = clock[k];
        const int64_t t1 = t0 + int64_t(std::llround(perFrame * n * (0.85 + 0.3 * R.unit())));
        clock[k] = t1 + R.range(5, 60);
        lastAssign = std::max(lastAssign, t0);
        const int rendering = int(used.size());
        log(ev, t0, used[int(k)], 21, first, last, 1, rendering, left);
        left -= n;
        if (R.chance(0.04)) {
            // The client crashed on the segment; another pass rendered it.
            log(ev, t1, used[int(k)], 36, first, last, 1, rendering, left + n);
            ++crashed;
        }
        log(ev, t1, used[int(k)], 14, first, last, 1, rendering, left);
        const double secs = double(t1 - t0);
        renderSeconds += secs;
        ghzSeconds += secs * double(c.Cores) * double(c.MHz) / 1000.0;
        psSeconds += secs * double(c.Cores) * double(c.MHz) / 1000.0 * 0.9;
        // The segment as the server booked it: client, frames, first frame, start and duration.
        if (s < JobFrameLog_Max) {
            _JobFrameLog& f = j.FrameLog[s];
            f.Word1 = uint16_t(used[int(k)]);
            f.Word2 = uint16_t(n);
            f.Value1 = uint32_t(first);
            f.Value2 = uint32_t(t0 - send);
            f.Value3 = uint32_t(t1 - t0);
        }
        j.ClientStats[used[int(k)]].FramesDone += n;
        j.ClientStats[used[int(k)]].State[0] = 4;
    }
    int64_t finished = *std::max_element(clock.begin(), clock.end());
    log(ev, lastAssign, -1, 19, 0, 0, 0, int(used.size()), 0);

    // One message of every kind in turn, and now and then a second one.
    const int client = used[R.range(0, int(used.size()) - 1)];
    const int64_t mid = start + (finished - start) / 2;
    extraEvent(ev, kExtraMessages[ExtraCursor++ % kExtraCount], p, mid, frames, client, frames / 2);
    if (R.chance(0.3)) extraEvent(ev, kExtraMessages[R.range(0, kExtraCount - 1)], p, start + (finished - start) / 3, frames, client,
                                  frames / 3);

    // A few jobs were deleted by their user before they were done.
    const bool deleted = R.chance(0.06);
    if (deleted) {
        finished = start + (finished - start) * 2 / 3;
        log(ev, finished, -2, 7, 0, user, 0, 0, frames / 3);
    } else {
        log(ev, finished + R.range(1, 14) * 86400, -1, 23, 0, 0, 0, 0, 0);
    }
    std::stable_sort(ev.begin(), ev.end(), [](const LogEvent& a, const LogEvent& b) { return a.Time < b.Time; });
    for (const LogEvent& e : ev) {
        j.ClientsRendering = int16_t(e.Rendering);
        j.FramesLeft = e.FramesLeft;
        // The job's state at that moment: first check, render, finished.
        j.Status = uint8_t(e.Time < start ? 0 : (e.Time <= finished ? 120 : 200));
        j.addLogFrames(e.Who, e.Message, e.P1, e.P2, e.P3);
        const int n = j.logCountClamped();
        if (n > 0) j.Log[n - 1].Time.t = int32_t(e.Time);
    }

    // Errors: every code in turn on a quarter of the jobs (each code once early on), by one of the
    // job's clients.
    if (ErrorCursor < kErrorCount || R.chance(0.25)) {
        const int count = R.range(1, 3);
        for (int e = 0; e < count; ++e) {
            const int8_t code = kErrorCodes[ErrorCursor++ % kErrorCount];
            const int who = used[R.range(0, int(used.size()) - 1)];
            if (!j.addError(int16_t(who), code)) continue;
            const int n = j.errorCountClamped();
            if (n > 0) j.Errors[n - 1].Time.t = start + (finished - start) * (e + 1) / (count + 1);
            if (code == 7 || code == 17) j.ErrorCountHard = int8_t(j.ErrorCountHard + 1);
        }
    }

    j.Status = deleted ? 120 : 200;
    j.FramesDone = uint32_t(deleted ? frames * 2 / 3 : frames);
    j.FramesSend = uint16_t(std::min(65535, frames + crashed * segSize));
    j.FramesCrashed = uint16_t(crashed * segSize);
    j.FramesAborted = uint16_t(deleted ? frames / 3 : 0);
    j.DateStart.t = start;
    j.DateFirstFrame.t = start + R.range(20, 90);
    j.DateLastSegment.t = finished;
    j.DateFinished.t = finished;
    j.InfoChanged.t = finished;
    j.ExecutionTime = uint64_t(finished - start);
    j.AverageFrameTime = uint32_t(std::llround(renderSeconds / frames));
    j.AverageClients = float(double(used.size()) * (0.75 + 0.25 * R.unit()));
    j.TotalGhzHours = float(ghzSeconds / 3600.0);
    j.TotalPS = uint64_t(psSeconds);
    out = j;
    PreviousID = id;
    LastDeleted = deleted;
}

// Which layout a frame is written in: the oldest part of an archive file in the three old ones.
Layout layoutFor(int kind, bool archive, int index, int count)
{
    const double f = count > 0 ? double(index) / double(count) : 0.0;
    if (kind == 0 && archive) {
        if (f < 0.25) return Layout::Old61;
        if (f < 0.5) return Layout::Old62;
        if (f < 0.7) return Layout::Old627;
        return Layout::Current;
    }
    if (kind == 2) {
        if (index % 5 == 1) return Layout::Old627;
        if (index % 10 == 3) return Layout::Old62;
    }
    return Layout::Current;
}

const unsigned char* jpegFor(int n, int& size)
{
    switch (n % 3) {
    case 0: size = int(sizeof(kJpeg_a)); return kJpeg_a;
    case 1: size = int(sizeof(kJpeg_b)); return kJpeg_b;
    default: size = int(sizeof(kJpeg_c)); return kJpeg_c;
    }
}

bool writeProject(const Plan& p, const QString& history, JobMaker& maker, DemoRng& rng, fmDemoProjectReport& rep,
                  QString& error)
{
    rep.Name = p.Name;
    // Sending times, in order: the project's jobs spread over its months.
    std::vector<int64_t> sends(size_t(p.Jobs));
    // Sent up to three days before the project's end, so that the last jobs finish inside it.
    for (int64_t& s : sends) s = rng.range64(p.Begin, std::max(p.Begin, p.End - 3 * 86400));
    std::sort(sends.begin(), sends.end());

    struct Part
    {
        QString Path;
        int From, To; // jobs [From, To)
        bool Archive;
    };
    QList<Part> parts;
    if (p.Kind == 0 && p.Jobs >= 2) {
        const int split = p.Jobs * 2 / 5;
        parts.append({history + p.Name + QStringLiteral(".db61"), split, p.Jobs, false});
        parts.append({history + QStringLiteral("__archive/") + p.Name + QStringLiteral(".db"), 0, split, true});
    } else {
        parts.append({history + p.Name + (p.Kind == 2 ? QStringLiteral(".db") : QStringLiteral(".db61")), 0, p.Jobs, false});
    }

    const QString images = history + p.Name + QLatin1Char('/');
    auto record = std::make_unique<_jobsHistoryDB>();
    for (const Part& part : parts) {
        if (!makeDir(QFileInfo(part.Path).absolutePath(), error)) return false;
        FrameWriter w;
        if (!w.open(part.Path, error)) return false;
        int64_t newest = 0;
        for (int i = part.From; i < part.To; ++i) {
            const Layout layout = layoutFor(p.Kind, part.Archive, i - part.From, part.To - part.From);
            maker.make(p, sends[size_t(i)], layout != Layout::Current, *record);
            if (!w.write(*record, layout, error)) return false;
            const int64_t finished = record->DateFinished.t; // a copy: the packed field is unaligned
            if (finished > newest) newest = finished;
            ++rep.Jobs;
            if (layout != Layout::Current) ++rep.OldFrames;
            // The farm keeps a picture of the first frame of a part of the finished jobs.
            if (!maker.lastDeleted() && rng.chance(0.3)) {
                if (!makeDir(images, error)) return false;
                int size = 0;
                const unsigned char* bytes = jpegFor(rep.Images, size);
                const QString path = images + ID2strFull(record->JobID) + QStringLiteral(".jpg");
                if (!writeFile(path, QByteArray(reinterpret_cast<const char*>(bytes), size), error)) return false;
                setTimes(path, record->DateFinished.t);
                ++rep.Images;
            }
        }
        w.close();
        // The file's time is that of its last job, as on a farm that appends as jobs finish.
        setTimes(part.Path, newest > 0 ? newest : p.End);
        rep.Files.append(part.Path);
    }
    return true;
}

} // namespace

QByteArray fmDemoSplashPng(int width, int height)
{
    width = std::clamp(width, 1, 4096);
    height = std::clamp(height, 1, 4096);
    QByteArray raw;
    raw.reserve((width * 3 + 1) * height);
    for (int y = 0; y < height; ++y) {
        raw.append('\0'); // filter: none
        const double fy = double(y) / double(height);
        for (int x = 0; x < width; ++x) {
            const double fx = double(x) / double(width);
            // Night blue to dawn orange along the diagonal, with a soft glow low on the right.
            const double g = std::clamp(0.55 * fx + 0.45 * fy, 0.0, 1.0);
            const double dx = fx - 0.78, dy = fy - 0.82;
            const double glow = std::exp(-(dx * dx + dy * dy) * 9.0);
            const double r = 18 + 150 * g * g + 80 * glow;
            const double gg = 30 + 70 * g + 60 * glow;
            const double b = 62 + 40 * (1.0 - g) + 20 * glow;
            raw.append(char(std::clamp(int(r), 0, 255)));
            raw.append(char(std::clamp(int(gg), 0, 255)));
            raw.append(char(std::clamp(int(b), 0, 255)));
        }
    }
    uLongf packed = compressBound(uLong(raw.size()));
    QByteArray idat(int(packed), Qt::Uninitialized);
    if (compress2(reinterpret_cast<Bytef*>(idat.data()), &packed, reinterpret_cast<const Bytef*>(raw.constData()),
                  uLong(raw.size()), 9) != Z_OK)
        return QByteArray();
    idat.resize(int(packed));

    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    uchar ihdr[13];
    qToBigEndian<quint32>(quint32(width), ihdr);
    qToBigEndian<quint32>(quint32(height), ihdr + 4);
    ihdr[8] = 8;  // bits per sample
    ihdr[9] = 2;  // colour type RGB
    ihdr[10] = 0; // deflate
    ihdr[11] = 0; // adaptive filtering
    ihdr[12] = 0; // no interlace
    pngChunk(png, "IHDR", QByteArray(reinterpret_cast<const char*>(ihdr), 13));
    pngChunk(png, "IDAT", idat);
    pngChunk(png, "IEND", QByteArray());
    return png;
}

QString fmCreateDemoRoot(__FM& fm, const fmDemoRootOptions& options, fmDemoRootReport* report)
{
    fmDemoRootReport localReport;
    fmDemoRootReport& rep = report ? *report : localReport;
    rep = fmDemoRootReport();
    QString error;
    if (options.Dir.isEmpty()) return QStringLiteral("No folder given for the demo root");
    const int projects = std::clamp(options.Projects, 1, 40);
    const int jobs = std::clamp(options.Jobs > 0 ? options.Jobs : fmDemoDefaultJobs, 1, _JobList::MaxJobs);

    QString root = QDir(options.Dir).absolutePath();
    if (!root.endsWith(QLatin1Char('/'))) root += QLatin1Char('/');
    if (root.contains(QLatin1String("_debug"), Qt::CaseInsensitive) || root.size() > 200)
        return QStringLiteral("'%1' can't be a farm root (too long, or \"_debug\" in its path)").arg(root);
    const QString sub = root + QStringLiteral("sub/");
    for (const char* folder : {"sub/cfg_global", "sub/cfg_user", "sub/log", "sub/stats", "sub/client_execute_scripts",
                               "sub/history_db", "bin/lx"})
        if (!makeDir(root + QLatin1String(folder), error)) return error;

    if (!writeFile(sub + QStringLiteral("version.info"), QByteArrayLiteral(" 7.0.10\n2024-11-04\n"), error)) return error;
    if (!writeFile(sub + QStringLiteral("SplashScreen.png"), fmDemoSplashPng(600, 340), error)) return error;

    // The writers of the family put their files below FM's paths: point them at the new root.
    fm.RootPath = root;
    fm.ExeRootPath = root;
    fm.pathsCalcOtherPaths();
    // The family reads "_debug" in a root as its "_release" twin: such a folder can't be a root.
    if (fm.RootPath.toQString() != root)
        return QStringLiteral("'%1' can't be a farm root (too long, or \"_debug\" in its path)").arg(root);
    if (!fm.cfg) return QStringLiteral("No configuration table");
    fm.cfg->initialize();
    writeConfig(fm);
    if (!fm.SaveFileCfg()) return QStringLiteral("Unable to write globalconfig.ini");

    DemoRng rng(options.Seed);
    const Farm farm = writeClients(fm, rng, rep.Clients);
    if (!fm.SaveFileClientsAll(QStringLiteral("demo root"))) return QStringLiteral("Unable to write clients.ini");
    if (!writeClientGroups(fm, farm)) return QStringLiteral("Unable to write clientgroups.ini");
    if (!writeUsers(fm)) return QStringLiteral("Unable to write users7.dat");
    rep.Users = kUserCount;
    rep.Groups = 2;

    // Projects spread over the two years, each a few months long, with a team and its programs.
    const QString history = fm.HistoryDbPath.toQString();
    JobMaker maker(farm, rng);
    static const double shares[] = {0.6, 0.45, 0.35, 0.3, 0.25, 0.2, 0.15};
    for (int i = 0; i < projects; ++i) {
        Plan p;
        p.Name = QString::fromLatin1(kProjectNames[i % kProjectNameCount]);
        if (i >= kProjectNameCount) p.Name += QStringLiteral("_%1").arg(i / kProjectNameCount + 1);
        p.Company = p.Name.section(QLatin1Char('_'), 0, 0);
        const int64_t span = kHistoryEnd - kHistoryBegin;
        const int64_t length = int64_t(rng.range(60, 240)) * 86400;
        p.Begin = kHistoryBegin + (span - length) * (projects > 1 ? (projects - 1 - i) : 0) / std::max(1, projects - 1);
        p.Begin = std::clamp<int64_t>(p.Begin + rng.range(-20, 20) * 86400, kHistoryBegin, kHistoryEnd - length);
        p.End = p.Begin + length;
        p.Jobs = i == 0 ? jobs
                        : std::clamp(int(std::lround(jobs * shares[std::min(i - 1, 6)])), 1, fmDemoOtherProjectMax);
        // The oldest project is the one split over "__archive" with frames of the old layouts.
        p.Kind = (projects - 1 - i) % 3;
        const int appCount = rng.range(1, 3);
        while (p.Apps.size() < appCount) {
            const int a = rng.range(0, kAppCount - 1);
            if (!p.Apps.contains(a)) p.Apps.append(a);
        }
        const int teamSize = rng.range(3, 6);
        while (p.Team.size() < teamSize) {
            const int u = rng.range(0, kUserCount - 1);
            if (!p.Team.contains(u)) p.Team.append(u);
        }
        p.Res = kResolutions[rng.range(0, 4)];
        fmDemoProjectReport pr;
        if (!writeProject(p, history, maker, rng, pr, error)) return error;
        rep.Projects.append(pr);
    }

    // bin/lx: the programs, and a submitter that only records how it was called.
    const QString bin = root + QStringLiteral("bin/lx/");
    if (!options.ExecutableDir.isEmpty()) {
        for (const char* exe : {"fmHistorydb", "fmHistorydbconsole"}) {
            const QString from = QDir(options.ExecutableDir).filePath(QLatin1String(exe));
            if (!QFileInfo(from).isFile() || QFileInfo(from).absoluteFilePath() == QFileInfo(bin + QLatin1String(exe)).absoluteFilePath())
                continue;
            QFile::remove(bin + QLatin1String(exe));
            if (!QFile::copy(from, bin + QLatin1String(exe)))
                return QStringLiteral("Unable to copy '%1' into '%2'").arg(from, bin);
        }
    }
    const QByteArray submitter =
        "#!/bin/sh\n"
        "# Demo submitter: records each call instead of submitting. One argument a line, each call\n"
        "# headed by a line \"---- <time>\", in sub/log/submitter_calls.txt of this root.\n"
        "root=$(cd \"$(dirname \"$0\")/../..\" && pwd)\n"
        "mkdir -p \"$root/sub/log\"\n"
        "{\n"
        "  echo \"---- $(date '+%Y-%m-%d %H:%M:%S')\"\n"
        "  for arg in \"$@\"; do printf '%s\\n' \"$arg\"; done\n"
        "} >> \"$root/sub/log/submitter_calls.txt\"\n";
    if (!writeFile(bin + QStringLiteral("fmSubmitter"), submitter, error)) return error;
    QFile::setPermissions(bin + QStringLiteral("fmSubmitter"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner | QFileDevice::ReadGroup |
                              QFileDevice::ExeGroup | QFileDevice::ReadOther | QFileDevice::ExeOther);

    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        rep.Bytes += it.fileInfo().size();
    }
    return QString();
}
