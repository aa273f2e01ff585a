// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CMEMORYPOOL_H
#define SELVANE_PDB_CMEMORYPOOL_H

#include <cstdlib>
#include <memory>

/// One block of the pool.
struct cMemoryChunk {
    struct Free {
        void operator()(void* block) const { std::free(block); }
    };

    explicit cMemoryChunk(unsigned long capacity);

    unsigned long m_capacity;
    unsigned long m_used = 0;
    std::unique_ptr<void, Free> m_block;
    std::unique_ptr<cMemoryChunk> m_next;
};

/// Hands out memory that comes back only with the pool. Results are aligned as the sizes requested leave
/// them: a pool of objects whose sizes are multiples of their alignment stays aligned.
class cMemoryPool {
public:
    explicit cMemoryPool(unsigned long chunkSize);
    cMemoryPool(const cMemoryPool&) = delete;
    cMemoryPool& operator=(const cMemoryPool&) = delete;
    ~cMemoryPool();

    /// A larger request than a chunk holds gets a chunk of exactly its size and a note on the error stream.
    /// @throws std::bad_alloc
    void* alloc(unsigned long size);
    /// Does nothing.
    void dealloc(void*) {}

private:
    std::unique_ptr<cMemoryChunk> m_first;
    cMemoryChunk* m_current; ///< view of the last chunk of the list
};

#endif
