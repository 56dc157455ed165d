#include "gumboarena.h"

#include <cstdint>
#include <cstdlib>

namespace {
// Every block is preceded by a tag word saying which free list takes it back; 16 bytes keep
// the payload aligned as malloc would.
constexpr size_t kHeader = 16;
constexpr std::uint64_t kLargeTag = 0xffff;
constexpr size_t kChunkSize = 256 * 1024;

std::uint64_t &tagOf(void *block)
{
    return *reinterpret_cast<std::uint64_t *>(static_cast<char *>(block) - sizeof(std::uint64_t));
}
} // namespace

struct GumboArena::LargeBlock {
    LargeBlock *previous;
    LargeBlock *next;
    std::uint64_t unused;
    std::uint64_t tag;
};

GumboArena::~GumboArena()
{
    for (char *chunk : m_chunks)
        std::free(chunk);
    while (m_large) {
        LargeBlock *next = m_large->next;
        std::free(m_large);
        m_large = next;
    }
}

void GumboArena::install(GumboOptions &options)
{
    options.allocator = &GumboArena::allocate;
    options.deallocator = &GumboArena::deallocate;
    options.userdata = this;
}

void *GumboArena::allocate(void *arena, size_t size)
{
    auto *self = static_cast<GumboArena *>(arena);
    if (size > (size_t(16) << (kSizeClasses - 1)))
        return self->allocateLarge(size);
    int sizeClass = 0;
    while ((size_t(16) << sizeClass) < size)
        ++sizeClass;
    return self->allocateSmall(sizeClass);
}

void GumboArena::deallocate(void *arena, void *block)
{
    if (!block)
        return;
    auto *self = static_cast<GumboArena *>(arena);
    const std::uint64_t tag = tagOf(block);
    if (tag == kLargeTag) {
        auto *large = reinterpret_cast<LargeBlock *>(static_cast<char *>(block) - sizeof(LargeBlock));
        (large->previous ? large->previous->next : self->m_large) = large->next;
        if (large->next)
            large->next->previous = large->previous;
        std::free(large);
        return;
    }
    *static_cast<void **>(block) = self->m_free[tag];
    self->m_free[tag] = block;
}

void *GumboArena::allocateSmall(int sizeClass)
{
    if (void *block = m_free[size_t(sizeClass)]) {
        m_free[size_t(sizeClass)] = *static_cast<void **>(block);
        return block;
    }
    const size_t needed = kHeader + (size_t(16) << sizeClass);
    if (size_t(m_chunkEnd - m_cursor) < needed || !m_cursor) {
        char *chunk = static_cast<char *>(std::malloc(kChunkSize));
        if (!chunk)
            std::abort(); // gumbo cannot recover from a failed allocation, nor unwind
        m_chunks.push_back(chunk);
        m_cursor = chunk;
        m_chunkEnd = chunk + kChunkSize;
    }
    void *block = m_cursor + kHeader;
    m_cursor += needed;
    tagOf(block) = std::uint64_t(sizeClass);
    return block;
}

void *GumboArena::allocateLarge(size_t size)
{
    static_assert(sizeof(LargeBlock) % kHeader == 0);
    auto *large = static_cast<LargeBlock *>(std::malloc(sizeof(LargeBlock) + size));
    if (!large)
        std::abort();
    large->previous = nullptr;
    large->next = m_large;
    if (m_large)
        m_large->previous = large;
    m_large = large;
    large->tag = kLargeTag;
    return large + 1;
}
