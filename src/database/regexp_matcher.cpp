// SPDX-License-Identifier: Apache-2.0
// Simulates the non-deterministic automaton: a set of active instructions for the character at hand
// and one for the next, exchanged after each character. A set is a list and a bit for each
// instruction, so adding costs constant time whatever the set holds, and an instruction enters a
// set once. Instructions that read nothing add to the set that is being worked on, the others to
// the next one. The whole costs at most characters times instructions; nothing is ever read twice.
//
// tests/database/regexp_exhaustive_test.cpp checks the outcome, regexp_limits_test.cpp the cost.
#include "regexp_matcher.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "regexp_reader.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

constexpr std::uint32_t SMALL_PROGRAM = 50;
constexpr std::uint32_t BITS_OF_WORD = 64;

/// A set of instructions over memory of the caller's.
class CStateSet {
public:
    CStateSet(std::uint32_t* list, std::uint64_t* marks) : m_list(list), m_marks(marks) {}

    void Add(std::uint32_t instruction) {
        std::uint64_t& word = m_marks[instruction / BITS_OF_WORD];
        const std::uint64_t bit = std::uint64_t{1} << (instruction % BITS_OF_WORD);
        if ((word & bit) == 0) {
            word |= bit;
            m_list[m_size++] = instruction;
        }
    }

    /// Costs as much as has been added, however large the program is.
    void Clear() {
        for (std::uint32_t i = 0; i < m_size; ++i) {
            m_marks[m_list[i] / BITS_OF_WORD] = 0;
        }
        m_size = 0;
    }

    std::uint32_t Size() const { return m_size; }
    std::uint32_t operator[](std::uint32_t i) const { return m_list[i]; }

private:
    std::uint32_t* m_list;
    std::uint64_t* m_marks;
    std::uint32_t m_size = 0;
};

struct SSubject {
    const unsigned char* begin;
    const unsigned char* position;
    const unsigned char* end;
};

class CMatcher {
public:
    CMatcher(const SRegexpProgram& program, CStateSet first, CStateSet second)
        : m_opcodes(program.opcodes.Data()),
          m_arguments(program.arguments.Data()),
          m_program(program),
          m_current(first),
          m_next(second) {}

    template <bool FoldCase>
    bool Matches(SSubject subject) {
        m_atStart = subject.position == subject.begin;
        m_afterWord = !m_atStart && IsRegexpWord(subject.position[-1]);
        Enter(m_current, 0);
        while (!m_accepted && m_current.Size() > 0 && subject.position < subject.end) {
            const std::uint32_t c = ReadCharacter<FoldCase>(subject.position, subject.end);
            Step<false>(c);
            m_steps += m_current.Size();
            m_current.Clear();
            std::swap(m_current, m_next);
            m_atStart = false;
            m_afterWord = IsRegexpWord(c);
        }
        if (!m_accepted) {
            Step<true>(0);
            m_steps += m_current.Size();
        }
        return m_accepted;
    }

    std::uint64_t Steps() const { return m_steps; }

private:
    /// Activates an instruction, or the target of the jump that stands there (which is never a jump
    /// without a condition itself).
    void Enter(CStateSet& set, std::uint32_t instruction) {
        if (m_opcodes[instruction] == ERegexpOpcode::Goto) {
            instruction += m_arguments[instruction];
        }
        if (m_opcodes[instruction] == ERegexpOpcode::Accept) {
            m_accepted = true;
            return;
        }
        set.Add(instruction);
    }

    /// Takes the character, or the end of the subject. Grows the current set while walking over it.
    template <bool AtEnd>
    void Step(std::uint32_t c) {
        for (std::uint32_t i = 0; i < m_current.Size() && !m_accepted; ++i) {
            const std::uint32_t instruction = m_current[i];
            switch (m_opcodes[instruction]) {
                case ERegexpOpcode::Fork:
                    Enter(m_current, instruction + m_arguments[instruction]);
                    Enter(m_current, instruction + 1);
                    break;
                case ERegexpOpcode::AtStart:
                    EnterIf(m_atStart, instruction);
                    break;
                case ERegexpOpcode::Boundary:
                    EnterIf(m_afterWord != (!AtEnd && IsRegexpWord(c)), instruction);
                    break;
                case ERegexpOpcode::AnyStar:
                    Enter(m_current, instruction + 1);
                    if constexpr (!AtEnd) {
                        m_next.Add(instruction);
                    }
                    break;
                default:
                    if constexpr (AtEnd) {
                        EnterIf(IsEndTest(instruction), instruction);
                    } else {
                        Take(instruction, c);
                    }
            }
        }
    }

    void EnterIf(bool condition, std::uint32_t instruction) {
        if (condition) {
            Enter(m_current, instruction + 1);
        }
    }

    bool IsEndTest(std::uint32_t instruction) const {
        return m_opcodes[instruction] == ERegexpOpcode::Match && m_arguments[instruction] == 0;
    }

    void Take(std::uint32_t instruction, std::uint32_t c) {
        switch (m_opcodes[instruction]) {
            case ERegexpOpcode::Match:
                if (m_arguments[instruction] == c && c != 0) {
                    Enter(m_next, instruction + 1);
                }
                break;
            case ERegexpOpcode::Any:
                Enter(m_next, instruction + 1);
                break;
            case ERegexpOpcode::CcInc:
            case ERegexpOpcode::CcExc:
                if (m_program.ClassTakes(instruction, c)) {
                    Enter(m_next, instruction + m_arguments[instruction]);
                }
                break;
            default:
                if (IsInRegexpSet(m_opcodes[instruction], c)) {
                    Enter(m_next, instruction + 1);
                }
        }
    }

    const ERegexpOpcode* m_opcodes;
    const std::uint32_t* m_arguments;
    const SRegexpProgram& m_program;
    CStateSet m_current;
    CStateSet m_next;
    std::uint64_t m_steps = 0;
    bool m_accepted = false;
    bool m_atStart = false;
    bool m_afterWord = false;
};

/// Moves to the first place where a match can begin; false when there is none.
bool SkipToPrefix(const SRegexpProgram& program, std::string_view text, SSubject& subject) {
    if (program.prefixLength == 0) {
        return true;
    }
    const std::size_t place = text.find(std::string_view(program.prefix.data(), //
                                                         program.prefixLength));
    if (place == std::string_view::npos) {
        return false;
    }
    subject.position += place;
    return true;
}

SSubject SubjectOf(std::string_view text) {
    const auto* begin = reinterpret_cast<const unsigned char*>(text.data());
    return {begin, begin, begin + text.size()};
}

int RunSets(const SRegexpProgram& program, SSubject subject, CStateSet first, CStateSet second,
            std::uint64_t* steps) {
    CMatcher matcher(program, first, second);
    const bool matches =
        program.foldCase ? matcher.Matches<true>(subject) : matcher.Matches<false>(subject);
    if (steps != nullptr) {
        *steps += matcher.Steps();
    }
    return matches ? REGEXP_MATCH : REGEXP_NO_MATCH;
}

int RunLargeSets(const SRegexpProgram& program, SSubject subject, std::uint64_t* steps) {
    const std::uint64_t size = program.Size();
    const std::uint64_t words = (size + BITS_OF_WORD - 1) / BITS_OF_WORD;
    const std::uint64_t markBytes = 2 * words * sizeof(std::uint64_t);
    const std::uint64_t listBytes = 2 * size * sizeof(std::uint32_t);
    const std::unique_ptr<void, SRegexpMemoryDeleter> memory(
        sqlite3_malloc64(markBytes + listBytes));
    if (memory == nullptr) {
        return REGEXP_OUT_OF_MEMORY;
    }
    auto* marks = static_cast<std::uint64_t*>(memory.get());
    std::fill_n(marks, 2 * words, 0);
    auto* lists = reinterpret_cast<std::uint32_t*>(marks + 2 * words);
    return RunSets(program, subject, CStateSet(lists, marks),
                   CStateSet(lists + size, marks + words), steps);
}

int RunSmallSets(const SRegexpProgram& program, SSubject subject, std::uint64_t* steps) {
    std::uint32_t lists[2][SMALL_PROGRAM];
    std::uint64_t marks[2] = {0, 0};
    return RunSets(program, subject, CStateSet(lists[0], &marks[0]), CStateSet(lists[1], &marks[1]),
                   steps);
}

} // namespace

int MatchRegexp(const SRegexpProgram& program, std::string_view subject) {
    if (program.bitAutomaton == nullptr) {
        return MatchRegexpWithSets(program, subject);
    }
    SSubject place = SubjectOf(subject);
    if (!SkipToPrefix(program, subject, place)) {
        return REGEXP_NO_MATCH;
    }
    const SRegexpBitAutomaton& automaton = *program.bitAutomaton;
    const bool matches = program.foldCase
                             ? automaton.Matches<true>(program, place.position, place.end)
                             : automaton.Matches<false>(program, place.position, place.end);
    return matches ? REGEXP_MATCH : REGEXP_NO_MATCH;
}

int MatchRegexpWithSets(const SRegexpProgram& program, std::string_view subject,
                        std::uint64_t* steps) {
    SSubject place = SubjectOf(subject);
    if (!SkipToPrefix(program, subject, place)) {
        return REGEXP_NO_MATCH;
    }
    return program.Size() <= SMALL_PROGRAM ? RunSmallSets(program, place, steps)
                                           : RunLargeSets(program, place, steps);
}

} // namespace Nax::FrontEnd::XMLDB
