#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// What every source that has a json object in it would compile anew is compiled once, in json.cpp.
extern template class nlohmann::detail::serializer<nlohmann::json>;
extern template class nlohmann::detail::lexer<nlohmann::json,
                                              nlohmann::detail::iterator_input_adapter<std::string::const_iterator>>;
extern template class nlohmann::detail::parser<nlohmann::json,
                                               nlohmann::detail::iterator_input_adapter<std::string::const_iterator>>;
extern template class std::vector<nlohmann::json>;
extern template class std::map<std::string, nlohmann::json, std::less<>>;
