// A peer for the bulk build of the dictionary: a Xapian database with positions over the words of an ISO 2709
// file:
//   xapian_index <database> <file>

#include <xapian.h>

#include <cstdio>
#include <string>

#include "peer_records.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s <database> <file>\n", argv[0]);
    return 2;
  }
  Xapian::WritableDatabase database(argv[1], Xapian::DB_CREATE_OR_OVERWRITE | Xapian::DB_NO_SYNC);
  Xapian::TermGenerator generator;
  bench::PeerFile file(argv[2]);
  for (bench::Texts texts; file.Next(&texts);) {
    Xapian::Document document;
    generator.set_document(document);
    generator.set_termpos(0);
    for (std::size_t i = 0; i < texts.size(); ++i) {
      generator.index_text(texts[i], 1, std::string(1, static_cast<char>('A' + i)));
      generator.increase_termpos();
    }
    database.add_document(document);
  }
  database.commit();
  return 0;
}
