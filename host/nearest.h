#pragma once

#include <string>
#include <vector>

/// The one of the words that was probably meant, in any case of letters: the word is the beginning of it, or few
/// letters of it are wrong, missing, too many or exchanged. Empty where none is near.
std::string nearestWord(const std::string& word, const std::vector<std::string>& words);

/// For the end of a message: "; did you mean \"conflicts\"?", or nothing for no word.
std::string askWhether(const std::string& nearest);

/// The same for the nearest of the words.
std::string didYouMean(const std::string& word, const std::vector<std::string>& words);
