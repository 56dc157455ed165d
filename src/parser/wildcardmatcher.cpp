#include "wildcardmatcher.h"

#include "platform/runtimeerror.h"

#include <QHash>
#include <QList>

namespace {

// What a MatchFrom depends on: where the text and the pattern start, and the start argument.
struct CallKey {
    qsizetype text;
    qsizetype pattern;
    int16_t start;
    bool operator==(const CallKey &) const = default;
};

size_t qHash(const CallKey &key, size_t seed = 0)
{
    return qHashMulti(seed, key.text, key.pattern, key.start);
}

// One evaluation of MatchFrom over suffixes of one text and one tokenized pattern.
class Evaluation
{
public:
    Evaluation(QStringView text, const WildcardMatcher::Prepared &pattern)
        : m_text(text)
        , m_pattern(pattern.tokens.pattern)
        , m_star(pattern.tokens.starToken)
        , m_any(pattern.tokens.anyToken)
        , m_nextStar(pattern.nextStar)
        , m_nextAny(pattern.nextAny)
    {
    }

    // For every pattern position, where the token next occurs at or after it (-1: nowhere).
    static QList<qsizetype> nextOccurrences(QStringView pattern, QStringView token)
    {
        QList<qsizetype> next(pattern.size() + 2, -1);
        for (qsizetype i = pattern.size() - 1; i >= 0; --i)
            next[i] = pattern.mid(i).startsWith(token) ? i : next[i + 1];
        return next;
    }

    // MatchFrom(text from textOffset, pattern from patternOffset, start).
    int16_t matchFrom(qsizetype textOffset, qsizetype patternOffset, int16_t start);
    qint64 steps() const { return m_steps; }

private:
    enum class Kind { Star, StarRest, Any, Literal };

    // A MatchFrom waiting for the answer of the one it called.
    struct Frame {
        CallKey key;
        Kind kind;
        qsizetype text;
        qsizetype literalStart = 0; // star: the literal it advances by; literal: where it ends
        qsizetype literalLength = 0;
        int16_t p = 0;
    };

    // 1-based position of the token in the pattern suffix searched from 1-based `from`, or 0.
    long long tokenAt(const QList<qsizetype> &next, qsizetype patternOffset, long long from) const
    {
        const qsizetype found = next[std::min<qsizetype>(patternOffset + from - 1, m_pattern.size())];
        return found == -1 ? 0 : found - patternOffset + 1;
    }

    QStringView textFrom(qsizetype offset) const { return m_text.mid(std::min(offset, m_text.size())); }

    // Starts the MatchFrom for these arguments: returns its answer when it needs no further
    // MatchFrom, or pushes its frame and the call it waits for.
    bool enter(qsizetype text, qsizetype pattern, int16_t start, int16_t &answer);
    // Gives a frame the answer of its call: true when the frame has its own answer now.
    bool resume(Frame &frame, int16_t called, int16_t &answer);

    QStringView m_text;
    QStringView m_pattern;
    QStringView m_star;
    QStringView m_any;
    const QList<qsizetype> &m_nextStar;
    const QList<qsizetype> &m_nextAny;
    QHash<CallKey, int16_t> m_memo;
    qint64 m_steps = 0;
    QList<Frame> m_frames;
    // The call the top frame waits for.
    qsizetype m_callText = 0;
    qsizetype m_callPattern = 0;
    int16_t m_callStart = 1;
};

bool Evaluation::enter(qsizetype text, qsizetype pattern, int16_t start, int16_t &answer)
{
    ++m_steps;
    CallKey key{std::min(text, m_text.size()), pattern, start};
    const QStringView t = textFrom(text);
    const qsizetype patternLength = m_pattern.size() - pattern;
    const int16_t s = matcherPosition(tokenAt(m_nextStar, pattern, 1));
    const int16_t q = matcherPosition(tokenAt(m_nextAny, pattern, 1));
    // Only what leads by a star or a ? is remembered: a literal costs one search, and so does
    // the plain rest at the end.
    const bool remembered = s == 1 || q == 1;
    if (q == 1 && s != 1)
        key.start = 1; // a ? does not look at where the search would start
    if (remembered) {
        if (const auto known = m_memo.constFind(key); known != m_memo.cend()) {
            answer = *known;
            return true;
        }
    }

    if (s == 1) {
        const long long nextStar = tokenAt(m_nextStar, pattern, 2);
        const long long nextAny = tokenAt(m_nextAny, pattern, 2);
        long long nearer = nextStar;
        if (nextAny != 0 && (nearer == 0 || nextAny < nearer))
            nearer = nextAny;
        const qsizetype literalStart = pattern + m_star.size();
        const long long literalLength = nearer == 0 ? m_pattern.size() - literalStart : nearer - m_star.size() - 1;
        if (literalLength < 0)
            throw RuntimeError(ErrorNumber::InvalidCall); // Mid fails; tokens are '_' and digits, which never overlap
        m_frames.append({key, Kind::Star, text, literalStart, qsizetype(literalLength), start});
        m_callText = text;
        m_callPattern = literalStart;
        m_callStart = start;
        return false;
    }
    if (q == 1) {
        if (t.isEmpty()) {
            answer = 0;
        } else {
            m_frames.append({key, Kind::Any, text});
            m_callText = text + 1;
            m_callPattern = pattern + m_any.size();
            m_callStart = 1;
            return false;
        }
    } else if (s == 0 && q == 0) {
        if (patternLength == 0) {
            answer = t.isEmpty() ? 1 : 3;
        } else {
            const QStringView rest = start > t.size() ? QStringView() : t.mid(start - 1);
            const long long first = rest.isEmpty() ? 0 : findFrom(1, rest, m_pattern.mid(pattern));
            answer = first > 0 && first + patternLength - 1 == rest.size() ? matcherPosition(first) : 0;
        }
    } else {
        long long nearer = s;
        if (q != 0 && (nearer == 0 || q < nearer))
            nearer = q;
        // Not remembered itself: it costs one search, and what follows it is remembered.
        const QStringView literal = m_pattern.mid(pattern, nearer - 1);
        const int16_t p = matcherPosition(t.isEmpty() ? 0 : findFrom(start, t, literal));
        if (p == 0) {
            answer = 0;
            return true;
        }
        const qsizetype nextText = std::min(text + p - 1 + literal.size(), m_text.size());
        const qsizetype nextPattern = pattern + nearer - 1;
        if (const auto known = m_memo.constFind(CallKey{nextText, nextPattern, 1}); known != m_memo.cend()) {
            answer = *known > 0 ? p : 0;
            return true;
        }
        m_frames.append({key, Kind::Literal, text, 0, 0, p});
        m_callText = nextText;
        m_callPattern = nextPattern;
        m_callStart = 1;
        return false;
    }
    if (remembered)
        m_memo.insert(key, answer);
    return true;
}

bool Evaluation::resume(Frame &frame, int16_t called, int16_t &answer)
{
    switch (frame.kind) {
    case Kind::Star: {
        if (called != 0) {
            answer = 1;
            return true;
        }
        const QStringView t = textFrom(frame.text);
        const QStringView literal = m_pattern.mid(frame.literalStart, frame.literalLength);
        const int16_t next = matcherPosition(t.isEmpty() ? 0 : findFrom(frame.p + 1, t, literal));
        if (next == 0) {
            answer = 0;
            return true;
        }
        if (frame.key.start == 1) {
            frame.p = next;
            m_callText = frame.text;
            m_callPattern = frame.literalStart;
            m_callStart = next;
            return false;
        }
        // A star asked to start further on (the second of two stars side by side, by the
        // first's loop): the rest of its loop is this same star started at the next place.
        // Asked that way it is remembered, and the many starts share one walk to the end.
        frame.kind = Kind::StarRest;
        m_callText = frame.text;
        m_callPattern = frame.key.pattern;
        m_callStart = next;
        return false;
    }
    case Kind::StarRest:
        answer = called;
        return true;
    case Kind::Any:
        answer = called == 1 ? 1 : 0;
        return true;
    case Kind::Literal:
        break;
    }
    // A literal is found where it was if what follows it matched.
    answer = called > 0 ? frame.p : 0;
    return true;
}

int16_t Evaluation::matchFrom(qsizetype textOffset, qsizetype patternOffset, int16_t start)
{
    int16_t answer = 0;
    if (enter(textOffset, patternOffset, start, answer))
        return answer;
    while (true) {
        // The top frame waits for the call in m_call*: make it, unless it is answered at once.
        if (!enter(m_callText, m_callPattern, m_callStart, answer))
            continue;
        // Hand answers down until a frame makes a new call or none is left.
        while (true) {
            Frame &frame = m_frames.last();
            int16_t own = 0;
            if (!resume(frame, answer, own))
                break;
            if (frame.kind != Kind::Literal)
                m_memo.insert(frame.key, own);
            m_frames.removeLast();
            answer = own;
            if (m_frames.isEmpty())
                return answer;
        }
    }
}

} // namespace

WildcardMatcher::WildcardMatcher(WildcardPattern::RandomSource random)
    : m_random(std::move(random))
{
}

WildcardMatcher::Prepared WildcardMatcher::prepare(const QString &pattern) const
{
    Prepared prepared;
    prepared.empty = pattern.isEmpty();
    prepared.tokens = WildcardPattern::tokenize(pattern, m_random);
    const QString &p = prepared.tokens.pattern;
    prepared.hasTokens = p.contains(prepared.tokens.starToken) || p.contains(prepared.tokens.anyToken);
    prepared.nextStar = Evaluation::nextOccurrences(p, prepared.tokens.starToken);
    prepared.nextAny = Evaluation::nextOccurrences(p, prepared.tokens.anyToken);
    return prepared;
}

bool WildcardMatcher::matches(const Prepared &pattern, QStringView text) const
{
    if (!pattern.empty && text.isEmpty())
        return false;
    const WildcardPattern &tokens = pattern.tokens;
    const QString &p = tokens.pattern;
    if (!pattern.hasTokens) {
        // The whole text, as the first occurrence of the pattern ending at the end of the text.
        if (p.isEmpty())
            return text.isEmpty();
        const qsizetype first = text.indexOf(p);
        if (first < 0 || first + p.size() != text.size())
            return false;
        return matcherPosition(first + 1) == 1;
    }
    Evaluation evaluation(text, pattern);
    const auto counted = [&](bool result) {
        m_lastSteps = evaluation.steps();
        return result;
    };
    if (p.startsWith(tokens.starToken))
        return counted(evaluation.matchFrom(0, tokens.starToken.size(), 1) > 0);
    if (p.startsWith(tokens.anyToken))
        return counted(evaluation.matchFrom(1, tokens.anyToken.size(), 1) == 1);
    return counted(evaluation.matchFrom(0, 0, 1) == 1);
}
