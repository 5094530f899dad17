#include "NolarSdifNameValueTable.h"

namespace nolardsp {

SdifNameValueT const* SdifNameValueTable::Find(std::string const& name) const {
  for (SdifNameValueT const& e : entries) {
    if (e.name == name) return &e;
  }
  return nullptr;
}

bool SdifNameValueTable::Add(std::string const& name, std::string const& value) {
  if (Find(name) != nullptr) return false;
  entries.push_back(SdifNameValueT{name, value});
  return true;
}

SdifListT* SdifNameValueTableList(SdifNameValuesLT* values) {
  if (values == nullptr) return nullptr;
  values->list.tables = &values->tables;
  return &values->list;
}

void SdifListInitLoop(SdifListT* list) {
  if (list != nullptr) list->next = 0;
}

bool SdifListIsNext(SdifListT* list) {
  return list != nullptr && list->tables != nullptr && list->next < list->tables->size();
}

SdifNameValueTableT* SdifListGetNext(SdifListT* list) {
  if (!SdifListIsNext(list)) return nullptr;
  return (*list->tables)[list->next++].get();
}

SdifHashTableT* SdifNameValueTableGetHashTable(SdifNameValueTableT* table) {
  return table;
}

unsigned int SdifNameValueTableGetNumTable(SdifNameValueTableT* table) {
  return table == nullptr ? 0 : table->GetNumTable();
}

SdifHashTableIteratorT* SdifCreateHashTableIterator(SdifHashTableT* table) {
  SdifHashTableIteratorT* it = new SdifHashTableIteratorT;
  it->table = table;
  return it;
}

void SdifKillHashTableIterator(SdifHashTableIteratorT* iterator) {
  delete iterator;
}

void SdifHashTableIteratorInitLoop(SdifHashTableIteratorT* iterator, SdifHashTableT* table) {
  if (iterator == nullptr) return;
  iterator->table = table;
  iterator->next = 0;
}

bool SdifHashTableIteratorIsNext(SdifHashTableIteratorT* iterator) {
  return iterator != nullptr && iterator->table != nullptr &&
         iterator->next < iterator->table->GetEntries().size();
}

SdifNameValueT const* SdifHashTableIteratorGetNext(SdifHashTableIteratorT* iterator) {
  if (!SdifHashTableIteratorIsNext(iterator)) return nullptr;
  return &iterator->table->GetEntries()[iterator->next++];
}

char const* SdifNameValueGetName(SdifNameValueT const* pair) {
  return pair == nullptr ? "" : pair->name.c_str();
}

char const* SdifNameValueGetValue(SdifNameValueT const* pair) {
  return pair == nullptr ? "" : pair->value.c_str();
}

}  // namespace nolardsp
