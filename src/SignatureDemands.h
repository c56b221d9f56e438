// What a signature asks its verification to do. None of it is known to be signed yet.

#pragma once

struct _xmlNode;

namespace Norv::Corvane::Common {

struct SignatureDemands {
    unsigned long references = 0;
    // How many times the verification goes over the whole document at most.
    unsigned long passes = 0;
    // How many further documents it builds from canonical output.
    unsigned long rebuiltTrees = 0;
    // How many namespace prefixes are to be treated specially, for each element of each pass.
    unsigned long listedPrefixes = 0;
};

SignatureDemands demandsOf(_xmlNode* signature);

}  // namespace Norv::Corvane::Common
