#include "platform/spooler/json.h"

template class nlohmann::detail::serializer<nlohmann::json>;
template class nlohmann::detail::lexer<nlohmann::json,
                                       nlohmann::detail::iterator_input_adapter<std::string::const_iterator>>;
template class nlohmann::detail::parser<nlohmann::json,
                                        nlohmann::detail::iterator_input_adapter<std::string::const_iterator>>;
template class std::vector<nlohmann::json>;
template class std::map<std::string, nlohmann::json, std::less<>>;
