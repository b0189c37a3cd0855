// What stands for texts that tell whose hardware it is: the same for the same, different ones for different ones.
#pragma once

#include "cim/recording/Identifiers.h"
#include "cim/recording/Vocabulary.h"

#include <array>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cim {

class Pseudonyms {
public:
    explicit Pseudonyms(const sim::Classes &classes) : vocabulary(classes) {}

    // First all is learned, ...
    void AddHost(std::string host); // one that is known to be the server's; its short name, too
    void AddSerial(const std::string &text);
    struct Reading {
        bool naming = false;  // its words are names, which stand in no product's designation
        bool version = false; // points make neither addresses nor hosts
    };
    void Learn(const std::string &text, Reading how);
    void Settle();

    // ... then asked. What is in no vocabulary is replaced, word for word, and so are identifiers and what was added.
    std::string Replace(const std::string &text);
    bool HoldsKnown(const std::string &text) const; // an identifier, or a word that is a name
    bool IsCommon(std::string_view word) const { return vocabulary.IsCommon(word); }

private:
    using Secret = std::pair<std::string, std::string>; // in lower case, and what stands for it

    void AddFoundHost(const std::string &host, bool certain);
    std::string Unused(const std::string &prefix, std::size_t size);
    std::string StandInFor(Identifier::Kind kind);
    std::string WordFor(const std::string &word);
    std::string InFormOf(const std::string &text);
    const Secret *SecretAt(const std::string &lower, std::size_t begin) const;
    std::size_t ClassAt(const std::string &text, std::size_t begin) const;

    const Vocabulary vocabulary;
    std::set<std::string> words; // all of the texts, in lower case: nothing else gets to look like one of them
    std::set<std::string> names; // of those the ones that would be replaced
    std::set<std::string> serials, users;
    std::map<std::string, bool> hosts; // in lower case; true for certain
    std::set<std::pair<Identifier::Kind, std::string>> others;
    std::map<std::string, std::string> secrets;        // in lower case
    std::array<std::vector<Secret>, 256> byFirst;      // the same by their first characters; the longest first
    std::map<std::string, std::string> wordsFor;       // by word as it is written
    std::map<std::string, std::size_t> hexNumbers;     // by digits in lower case
    std::map<std::string, std::size_t> counts;         // of stand-ins, by prefix
    std::map<Identifier::Kind, std::size_t> addresses; // given out
};

} // namespace cim
