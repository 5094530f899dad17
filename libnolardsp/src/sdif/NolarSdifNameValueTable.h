#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace nolardsp {

// One name-value pair of a "1NVT" chunk.
struct SdifNameValueT {
  std::string name;
  std::string value;
};

// The entries of one "1NVT" chunk, in the order of the file. Tables are
// numbered from 1 in the order they appear.
class SdifNameValueTable {
 public:
  explicit SdifNameValueTable(unsigned int number) : numTable(number) {}

  unsigned int GetNumTable() const { return numTable; }
  std::vector<SdifNameValueT> const& GetEntries() const { return entries; }
  // The entry of that name, or null.
  SdifNameValueT const* Find(std::string const& name) const;
  // False, and the table unchanged, if the name is there already.
  bool Add(std::string const& name, std::string const& value);

 private:
  unsigned int numTable;
  std::vector<SdifNameValueT> entries;
};

using SdifNameValueTableT = SdifNameValueTable;
using SdifHashTableT = SdifNameValueTable;
using SdifNameValueTableListT = std::vector<std::unique_ptr<SdifNameValueTable>>;

// A cursor over a file's tables, in their order.
struct SdifListT {
  SdifNameValueTableListT const* tables = nullptr;
  std::size_t next = 0;
};

// A file's name-value tables.
struct SdifNameValuesLT {
  SdifNameValueTableListT tables;
  SdifListT list;
};

// A cursor over the entries of one table.
struct SdifHashTableIteratorT {
  SdifNameValueTable const* table = nullptr;
  std::size_t next = 0;
};

// Walking the tables and their entries, in the shape the loaders use:
//   SdifListT* l = SdifNameValueTableList(SdifFNameValueList(file));
//   for (SdifListInitLoop(l); SdifListIsNext(l);) {
//     SdifNameValueTableT* t = SdifListGetNext(l);
//     ...
SdifListT* SdifNameValueTableList(SdifNameValuesLT* values);
void SdifListInitLoop(SdifListT* list);
bool SdifListIsNext(SdifListT* list);
SdifNameValueTableT* SdifListGetNext(SdifListT* list);

SdifHashTableT* SdifNameValueTableGetHashTable(SdifNameValueTableT* table);
unsigned int SdifNameValueTableGetNumTable(SdifNameValueTableT* table);
SdifHashTableIteratorT* SdifCreateHashTableIterator(SdifHashTableT* table);
void SdifKillHashTableIterator(SdifHashTableIteratorT* iterator);
void SdifHashTableIteratorInitLoop(SdifHashTableIteratorT* iterator, SdifHashTableT* table);
bool SdifHashTableIteratorIsNext(SdifHashTableIteratorT* iterator);
SdifNameValueT const* SdifHashTableIteratorGetNext(SdifHashTableIteratorT* iterator);
char const* SdifNameValueGetName(SdifNameValueT const* pair);
char const* SdifNameValueGetValue(SdifNameValueT const* pair);

}  // namespace nolardsp
