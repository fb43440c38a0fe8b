// A growable memory file: the XML reader reads from it, the writer appends to it. Writes always go to the
// end, reads see only what Attach declared. It does not own its storage: the destructor frees nothing, Close
// does. Attached storage that may grow or be closed after a write must come from malloc. One thread at a
// time.
#pragma once

#include <cstdint>

#include "base/non_copyable.h"

class CVMemFile : relay_hub::NonCopyable {
  public:
    virtual ~CVMemFile() = default;

    // Takes `size` bytes as the readable data, without copying. They must stay alive as long as they are
    // used.
    void Attach(unsigned char* buffer, unsigned int size, unsigned int growth);
    // Ends what was written with a NUL and returns the storage, which this file still points at.
    unsigned char* Detach();
    // Returns the number of bytes read; 0 at the end.
    unsigned int Read(void* destination, unsigned int n);
    // Returns n, or 0 when the file would pass 4 GiB or memory is short; the content is then unchanged.
    unsigned int Write(const void* source, unsigned int n);
    // Sets the read position to `offset`; `whence` is ignored.
    void Seek(long offset, unsigned int whence);
    unsigned int GetLength() const { return m_length; }
    unsigned int GetPosition() const { return m_position; }
    unsigned int GetCapacity() const { return m_capacity; }
    int GetGrowthFactor() const { return m_factor; }
    // The data from the read position on, and how much of it there is; valid until the next write.
    const unsigned char* GetUnread() const { return GetUnreadSize() > 0 ? m_buffer + m_position : nullptr; }
    unsigned int GetUnreadSize() const;
    // Frees the storage if anything was written to it, and lets go of it.
    void Close();

  private:
    bool grow(unsigned int n);

    unsigned char* m_buffer = nullptr;
    unsigned int m_position = 0;
    unsigned int m_step = 1024;
    unsigned int m_length = 0;
    unsigned int m_capacity = 0;
    unsigned int m_readable = 0;
    int32_t m_factor = 1;
};
