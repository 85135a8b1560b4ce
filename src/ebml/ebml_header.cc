#include "src/ebml/ebml_header.h"

#include "src/ebml/element_ids.h"

namespace MatroskaWriter {

EBML::EBML()
    : Master(ids::kEBML),
      ebml_version(ids::kEBMLVersion),
      ebml_read_version(ids::kEBMLReadVersion),
      ebml_max_id_length(ids::kEBMLMaxIDLength),
      ebml_max_size_length(ids::kEBMLMaxSizeLength),
      doc_type(ids::kDocType),
      doc_type_version(ids::kDocTypeVersion),
      doc_type_read_version(ids::kDocTypeReadVersion) {}

void EBML::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(ebml_version);
  visitor.Visit(ebml_read_version);
  visitor.Visit(ebml_max_id_length);
  visitor.Visit(ebml_max_size_length);
  visitor.Visit(doc_type);
  visitor.Visit(doc_type_version);
  visitor.Visit(doc_type_read_version);
}

}  // namespace MatroskaWriter
