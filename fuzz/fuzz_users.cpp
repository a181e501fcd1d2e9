// users.dat (the older user file) reader on arbitrary bytes. As with users7.dat, an input whose
// first byte is odd is laid into a file image of the right size with a correct CRC, so that the
// upgrade runs on hostile records.
#include "farm/fmusers.h"
#include "foundation/fmchecksum.h"

#include <QByteArray>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static _fmgUserSettingsList* table = new _fmgUserSettingsList;
    const char* p = reinterpret_cast<const char*>(data);
    table->clear();
    if (size == 0 || !(data[0] & 1)) {
        table->loadFromBytes60(p, qint64(size));
    } else {
        QByteArray image(int(Users60FileSize), '\0');
        const size_t n = size - 1 < size_t(Users60FileSize) ? size - 1 : size_t(Users60FileSize);
        std::memcpy(image.data(), p + 1, n);
        const uint32_t crc =
            fmCRCCalc(reinterpret_cast<const unsigned char*>(image.constData()), unsigned(Users60CRCOffset));
        std::memcpy(image.data() + Users60CRCOffset, &crc, 4);
        if (table->loadFromBytes60(image.constData(), image.size()) != _fmgUserSettingsList::LoadOk)
            std::abort();
        if (table->userCount() > 100 || table->groupCount() != 1) std::abort();
    }
    // A few lookups: each one walks the whole table.
    for (int i = 0; i < table->userCount() && i < 4; ++i) {
        table->User[i].pdec();
        table->findUserID(table->User[i].Name.toQString(), false);
    }
    table->saveToBytes();
    return 0;
}
