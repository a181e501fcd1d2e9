// users7.dat reader on arbitrary bytes. The file is 211594 bytes and guarded by a CRC, so random
// input alone never gets past the first checks: with the first byte odd, the input is laid into a
// zeroed file image of the right size and the CRC is set, so that the table's own repairs (counts,
// special names, groups) see hostile content. A table read once must read back to the same bytes.
#include "farm/fmusers.h"
#include "foundation/fmchecksum.h"

#include <QByteArray>
#include <cstdlib>
#include <cstring>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static _fmgUserSettingsList* table = new _fmgUserSettingsList; // 211 KB: not on the stack
    static _fmgUserSettingsList* again = new _fmgUserSettingsList;
    const char* p = reinterpret_cast<const char*>(data);
    table->clear();
    if (size == 0 || !(data[0] & 1)) {
        table->loadFromBytes(p, qint64(size));
    } else {
        QByteArray image(int(UsersFileSize), '\0');
        const size_t n = size - 1 < size_t(UsersFileCRCOffset) ? size - 1 : size_t(UsersFileCRCOffset);
        std::memcpy(image.data(), p + 1, n);
        const uint32_t crc = fmCRCCalc(reinterpret_cast<const unsigned char*>(image.constData()),
                                       unsigned(UsersFileCRCOffset));
        std::memcpy(image.data() + UsersFileCRCOffset, &crc, 4);
        if (table->loadFromBytes(image.constData(), image.size()) != _fmgUserSettingsList::LoadOk)
            std::abort();
    }
    if (table->ValidData) {
        const QByteArray once = table->saveToBytes();
        again->clear();
        if (again->loadFromBytes(once.constData(), once.size()) != _fmgUserSettingsList::LoadOk) std::abort();
        if (again->saveToBytes() != once) std::abort();
    }
    // The lookups on whatever was read.
    // A few lookups: each one walks the whole table.
    for (int i = 0; i < table->userCount() && i < 4; ++i) {
        table->findUserID(table->User[i].Name.toQString(), true);
        table->User[i].pdec();
        table->IDtoUniqueID(short(i));
    }
    return 0;
}
