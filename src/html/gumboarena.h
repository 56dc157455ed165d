#pragma once

#include <gumbo.h>

#include <array>
#include <cstddef>
#include <vector>

// Memory for one gumbo parse. Freed all at once when the arena goes, so gumbo_destroy_output,
// which recurses once per nesting level, is never called; blocks gumbo frees during the parse
// are reused by size.
class GumboArena
{
public:
    GumboArena() = default;
    ~GumboArena();
    GumboArena(const GumboArena &) = delete;
    GumboArena &operator=(const GumboArena &) = delete;

    // Points the options' allocator at this arena.
    void install(GumboOptions &options);

private:
    struct LargeBlock;

    static void *allocate(void *arena, size_t size);
    static void deallocate(void *arena, void *block);
    void *allocateSmall(int sizeClass);
    void *allocateLarge(size_t size);

    static constexpr int kSizeClasses = 9; // 16 to 4096 bytes
    std::array<void *, kSizeClasses> m_free{};
    std::vector<char *> m_chunks;
    char *m_cursor = nullptr;
    char *m_chunkEnd = nullptr;
    LargeBlock *m_large = nullptr;
};
