#pragma once
// One INI file of the panel, read and written value by value with the rules
// the settings files have always had:
// - section and key names compare without regard to case, after the blanks
//   around them are dropped; blanks inside a name count;
// - the first section of a name and the first key of a name in it win; later
//   duplicates are kept in the file but never read;
// - a value is the text after the first "=", without the blanks around it and
//   without one pair of enclosing quotes ("..." or '...');
// - lines starting with ";" are comments; every line this object does not
//   change stays in the file byte for byte, with its own line end;
// - lines written here end in CR LF;
// - nothing is cached: every call reads the file afresh, every write rewrites
//   it at once (inside an IniBatch, below, the whole batch is one rewrite);
//   a missing file reads as all defaults, and the first write creates the
//   file and the folders above it;
// - a file is read through FileRead: a pipe, device, folder or a file beyond
//   the bound is told once on standard error with its path, reads as all
//   defaults and is never written;
// - nothing here raises an error: a failed write answers 0.
#include <QString>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <utility>

class clsIniEdit {
public:
    // The buffer a read goes through, terminator included: a value reads as
    // at most kBufferSize - 1 characters.
    static constexpr int32_t kBufferSize = 32767;

    clsIniEdit() = default;
    explicit clsIniEdit(QString FilePath) : m_filePath(std::move(FilePath)) {}

    void Ini_SetPath(const QString& FilePath) { m_filePath = FilePath; }
    QString Ini_GetPath() const { return m_filePath; }
    void Ini_GetPath(QString& Result) const { Result = m_filePath; }

    // Writes one value; 1 when the file was written, 0 otherwise. An empty
    // (or null) key or data writes nothing and answers 0.
    int32_t Ini_Write(const QString& SectionName, const QString& KeyName, const QString& WriteData);
    void Ini_Write(const QString& SectionName, const QString& KeyName, const QString& WriteData,
                   int32_t& Result) { Result = Ini_Write(SectionName, KeyName, WriteData); }

    // The value of a key, or Default (without its trailing blanks) when the
    // key or the file is absent; cut to kBufferSize - 1 characters.
    QString Ini_ReadStr(const QString& SectionName, const QString& KeyName, const QString& Default) const;
    void Ini_ReadStr(const QString& SectionName, const QString& KeyName, const QString& Default,
                     QString& Result) const { Result = Ini_ReadStr(SectionName, KeyName, Default); }

    // The value of a key as an integer: blanks, an optional sign, then the
    // decimal digits up to the first other character ("12abc" reads 12, "abc"
    // reads 0). An absent key, or an empty value, gives Default.
    int32_t Ini_ReadInt(const QString& SectionName, const QString& KeyName, int32_t Default) const;
    void Ini_ReadInt(const QString& SectionName, const QString& KeyName, int32_t Default,
                     int32_t& Result) const { Result = Ini_ReadInt(SectionName, KeyName, Default); }

    // The section names in file order, one per name, into the caller's array
    // from entry 0 on. The array keeps its size: that is how many names it can
    // take, and further names are silently left out. The result is the count.
    int32_t Ini_Sections(QStringList& SectionBuffer) const;
    // The keys of a section, in the same manner.
    int32_t Ini_Keys(const QString& SectionName, QStringList& KeyBuffer) const;

    // Deletes the first section of that name with all its lines, comments
    // included. 1 when done (or nothing to delete), 0 when the file could not
    // be written.
    int32_t Ini_DelSection(const QString& SectionName);
    // Deletes a key; an empty key name deletes nothing and answers 0.
    int32_t Ini_DelKey(const QString& SectionName, const QString& KeyName);

private:
    // Cuts a NUL-separated, double-NUL-terminated list into the array, from
    // entry 0 to its last entry, stopping at the first empty entry.
    static int32_t Ini_Split(const QString& Buffer, QStringList& Array);

    QString m_filePath;
};

// The writes of one moment (the panel's close) as one replacement of each
// file. While a batch is open, every clsIniEdit of the process reads and
// writes the files it touches in memory, by the same rules value by value
// (first occurrence wins, unknown lines kept); commit() then writes each
// changed file whole, once, so that a kill at any moment of the close leaves
// each file all old or all new. One batch is open at a time: a batch made
// while another is open joins that one.
class IniBatch {
public:
    IniBatch();
    // Commits what was not committed yet.
    ~IniBatch();
    IniBatch(const IniBatch&) = delete;
    IniBatch& operator=(const IniBatch&) = delete;

    // Writes every changed file and closes the batch: later writes go to the
    // files at once. False when a file could not be written (it is told on
    // standard error, and stays as it was).
    bool commit();

private:
    friend class IniBatchFiles;
    struct Files;
    std::unique_ptr<Files> m_files;
};
