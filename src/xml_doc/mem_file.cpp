#include "xml_doc/mem_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

void CVMemFile::Attach(unsigned char* buffer, unsigned int size, unsigned int growth) {
    m_buffer = buffer;
    m_readable = size;
    m_capacity = size;
    m_length = 0;
    m_step = growth;
    m_factor = 1;
}

unsigned char* CVMemFile::Detach() {
    if (m_buffer == nullptr || m_length >= m_capacity)
        Write("", 1);
    else
        m_buffer[m_length] = 0;
    return m_buffer;
}

unsigned int CVMemFile::GetUnreadSize() const {
    return m_buffer != nullptr && m_position < m_readable ? m_readable - m_position : 0;
}

unsigned int CVMemFile::Read(void* destination, unsigned int n) {
    const unsigned int count = std::min(n, GetUnreadSize());
    if (count == 0)
        return 0;
    memcpy(destination, GetUnread(), count);
    m_position += count;
    return count;
}

unsigned int CVMemFile::Write(const void* source, unsigned int n) {
    const bool fits = m_buffer != nullptr && n <= m_capacity - m_length;
    if (!fits && !grow(n))
        return 0;
    if (n > 0)
        memcpy(m_buffer + m_length, source, n);
    m_length += n;
    return n;
}

bool CVMemFile::grow(unsigned int n) {
    constexpr uint64_t limit = std::numeric_limits<uint32_t>::max();
    const uint64_t needed = uint64_t{m_length} + n;
    const uint64_t growth = uint64_t{m_step} * static_cast<uint64_t>(m_factor);
    const uint64_t capacity = std::min(m_capacity + growth + (n > growth ? n : 0), limit);
    if (needed > capacity)
        return false;
    auto* grown = static_cast<unsigned char*>(malloc(std::max<size_t>(capacity, 1)));
    if (grown == nullptr)
        return false;
    if (m_length > 0)
        memcpy(grown, m_buffer, m_length);
    free(m_buffer);
    m_buffer = grown;
    m_capacity = static_cast<unsigned int>(capacity);
    if (m_factor < 0x100000)
        m_factor *= 8;
    return true;
}

void CVMemFile::Seek(long offset, unsigned int /*whence*/) {
    m_position = static_cast<unsigned int>(offset);
}

void CVMemFile::Close() {
    if (m_buffer != nullptr && m_length != 0)
        free(m_buffer);
    m_buffer = nullptr;
    m_position = m_length = m_capacity = m_readable = 0;
}
