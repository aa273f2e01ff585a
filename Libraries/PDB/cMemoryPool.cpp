// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/cMemoryPool.h"

#include <algorithm>
#include <iostream>
#include <new>
#include <utility>

namespace {

void* allocateBlock(unsigned long size) {
    void* block = std::malloc(std::max(size, 1UL));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

} // namespace

cMemoryChunk::cMemoryChunk(unsigned long capacity) : m_capacity(capacity), m_block(allocateBlock(capacity)) {}

cMemoryPool::cMemoryPool(unsigned long chunkSize)
    : m_first(std::make_unique<cMemoryChunk>(chunkSize)), m_current(m_first.get()) {}

cMemoryPool::~cMemoryPool() {
    // One by one: the list would otherwise be destroyed by a recursion as deep as it is long.
    while (m_first) {
        m_first = std::move(m_first->m_next);
    }
}

void* cMemoryPool::alloc(unsigned long size) {
    if (size > m_current->m_capacity) {
        std::cerr << "memory requested higher than chunk size of our pool!!!" << std::endl;
        if (m_current->m_used == 0) {
            m_current->m_block.reset(allocateBlock(size));
            m_current->m_capacity = size;
        }
    }
    if (size > m_current->m_capacity - m_current->m_used) {
        m_current->m_next = std::make_unique<cMemoryChunk>(std::max(size, m_current->m_capacity));
        m_current = m_current->m_next.get();
    }
    void* result = static_cast<char*>(m_current->m_block.get()) + m_current->m_used;
    m_current->m_used += size;
    return result;
}
