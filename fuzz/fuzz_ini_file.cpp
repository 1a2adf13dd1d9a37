// Any bytes as an INI file: every read, listing, write and delete must answer
// without a crash, and a write must leave a file that reads back what it wrote.
#include "FuzzFile.h"
#include "core/settings/clsIniEdit.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString path = fuzzWriteInput(QStringLiteral("Zentor.ini"), data, size);
    clsIniEdit ini(path);

    // Small arrays: listings are cut to them, and the reads stay few per input.
    QStringList sections(4);
    const int n = ini.Ini_Sections(sections);
    if (n < 0 || n > sections.size())
        std::abort();
    // Names from the file itself, and names the panel uses.
    QStringList names = sections.mid(0, n);
    names << QStringLiteral("Form_Position") << QStringLiteral("Z Focus Drive") << QString();
    for (const QString& section : names) {
        QStringList keys(4);
        const int k = ini.Ini_Keys(section, keys);
        if (k < 0 || k > keys.size())
            std::abort();
        for (int i = 0; i < k; ++i) {
            const QString value = ini.Ini_ReadStr(section, keys[i], QStringLiteral("-1"));
            if (value.size() >= clsIniEdit::kBufferSize)
                std::abort();
            (void)ini.Ini_ReadInt(section, keys[i], -1);
        }
        (void)ini.Ini_ReadInt(section, QStringLiteral("Top"), -1);
    }

    // Writing into whatever is there: the value must read back as written.
    const QString section = n > 0 ? sections[0] : QStringLiteral("Form_Position");
    if (ini.Ini_Write(section, QStringLiteral("FuzzKey"), QStringLiteral("4711")) == 1 &&
        ini.Ini_ReadInt(section, QStringLiteral("FuzzKey"), -1) != 4711)
        std::abort();
    (void)ini.Ini_DelKey(section, QStringLiteral("FuzzKey"));
    (void)ini.Ini_Write(QStringLiteral("XY Stage"), QStringLiteral("Memory_X0"), QStringLiteral("-1"));
    (void)ini.Ini_DelSection(section);
    return 0;
}
