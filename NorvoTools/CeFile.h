// A file with its own read and write buffers, and a notion of whether it holds 16-bit text with a byte-order mark.
// Two threads may share an object for whole blocks; positions and lines are one thread's business. No operation throws
// or reports in words: a failed open gives false, a failed read 0.
//
// Lines: ReadLine and ReadULine load the whole rest of the file at the first call and start over at its end, so a loop
// ends on a result of 0 at an empty line or file, or counts its lines.
#pragma once

#include "NorvoTools/CeCriticalSection.h"
#include "Platform/files.h"
#include "Platform/types.h"

#include <memory>

class QN_API CeFile {
public:
    static constexpr DWORD kBufferBytes = 65536;

    CeFile() = default;
    ~CeFile();
    CeFile(const CeFile&) = delete;
    CeFile& operator=(const CeFile&) = delete;

    // Opens what is there (with bCreate: makes it when missing) and looks for a byte-order mark; the position stands
    // behind it. An empty file gives true with the object closed: who goes on reading sees an empty file.
    bool Open(const WCHAR* path, DWORD access, DWORD share, bool bCreate);
    // Makes a new file that nobody else may open; an existing one is emptied, or fails the call without bOverwrite.
    // No mark is written.
    bool Create(const WCHAR* path, DWORD access, DWORD attributes, bool bOverwrite);
    // Writes out what is pending and forgets everything: the object may open another file.
    void Close();
    bool IsOpen() const;

    static bool Exists(const WCHAR* path, bool bFolderCounts);
    // Makes the folders of the path, that is of all before its last backslash.
    static void CreatePath(const WCHAR* path);

    DWORD Read(void* buffer, DWORD count);
    // Gives the count in any case; WriteFailed tells.
    DWORD Write(const void* buffer, DWORD count);
    // Writes the pending bytes to the file.
    bool Flush();
    // Flushes, and waits until the bytes are on the disk. False when any write since the opening has failed.
    bool Commit();
    bool WriteFailed() const { return m_bWriteFailed; }
    bool SetEndOfFile();
    bool EndOfFile();
    DWORD Size() const;

    // At most `max` characters and the terminator behind them; gives the number of characters. A line ends at a
    // carriage return; a longer line goes on with the next call.
    DWORD ReadULine(WCHAR* buffer, DWORD max);
    // The same for a file of either kind: narrow text is widened by the code page.
    DWORD ReadLine(WCHAR* buffer, DWORD max);
    // Writes text and line end, narrow or in 16 bits; m_bUnicode follows.
    bool WriteLine(const WCHAR* text, bool bNarrow);
    // Writes the mark at the start of the file.
    bool WriteUnicodeHeader();
    bool IsUnicode() const { return m_bUnicode != 0; }

    // Each writes out pending bytes, drops what was read ahead, and moves. They give the new position, or
    // 0xFFFFFFFF. Lines are not affected.
    DWORD SetPosition(DWORD offset);
    DWORD MovePosition(LONG delta);
    DWORD SetPositionBegin();
    DWORD SetPositionEnd();
    DWORD GetPosition();

    // Of the file information; zeros when no file is open.
    DWORD GetAttributes();
    FILETIME GetCreationTime();
    FILETIME GetLastAccessTime();
    FILETIME GetLastWriteTime();
    DWORD GetFileOID();

private:
    struct ReadBuffer {
        std::unique_ptr<BYTE[]> bytes;
        DWORD size = 0;
        DWORD position = 0;
        DWORD filled = 0;
        DWORD logicalEnd = 0;
    };
    struct WriteBuffer {
        std::unique_ptr<BYTE[]> bytes;
        DWORD size = 0;
        DWORD position = 0;
        DWORD pending = 0;
    };
    struct LineBuffer {
        std::unique_ptr<WCHAR[]> text;
        DWORD position = 0;
        DWORD count = 0;
    };

    bool Readable() const { return (m_dwAccess & GENERIC_READ) != 0; }
    bool Writable() const { return (m_dwAccess & GENERIC_WRITE) != 0; }
    void DetectMark();
    bool MakeReadBuffer();
    bool FillReadBuffer();
    bool MakeWriteBuffer();
    bool FlushLocked();
    void WriteThrough(const void* bytes, DWORD count);
    void StorePending(const BYTE* bytes, DWORD count);
    DWORD Move(LONGLONG distance, DWORD origin);
    DWORD Unread() const { return m_read.filled - m_read.position; }
    void DropReadAhead();
    void RefreshInformation();
    // Reads everything behind the position; false when there is no memory.
    bool ReadRest(std::unique_ptr<BYTE[]>& bytes, DWORD& count);
    bool LoadLines(bool bNarrow);

    DWORD m_bUnicode = 0;
    HANDLE m_hFile = nullptr; // null or all ones: no file
    DWORD m_dwAccess = 0;
    BY_HANDLE_FILE_INFORMATION m_info = {};
    WriteBuffer m_write;
    CeCriticalSection m_csBuffers;
    ReadBuffer m_read;
    LineBuffer m_lines;
    bool m_bWriteFailed = false;
};
