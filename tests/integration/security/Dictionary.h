// libxml2 keeps all names of a document in a dictionary of limited size, and not all of its code
// takes notice when there is no room left for one more.

#pragma once

#include <cstddef>
#include <string>

namespace Norv::Corvane::Test {

// While it lives, dictionaries of documents end at some 20 KB instead of some 10 MB. Otherwise they
// behave the same. Process-wide.
class TightDictionary {
public:
    TightDictionary();
    TightDictionary(const TightDictionary&) = delete;
    TightDictionary& operator=(const TightDictionary&) = delete;
    ~TightDictionary();
};

enum class Room { Tight, Usual };

// Elements that take all room that there is, and fail to take more without consequences. Their
// prefixes are not declared.
std::string fillingElements(Room room);

// The same for the first steps of the memory for names, of some 2.5 MB: the next step takes 7.5 MB.
std::string fillingElementsOfFirstSteps();

// Instructions that take it too. They go behind `text`, which is the start of a document. With the
// usual room they take most of it only: a name as long as `overflowingName` has none left.
std::string fillingInstructions(const std::string& text, Room room);

// Attributes, blank in front, that declare namespaces and do the same.
std::string fillingDeclarations(const std::string& text, Room room);

// A name for which there is no room after these.
std::string overflowingName(Room room);

}  // namespace Norv::Corvane::Test
