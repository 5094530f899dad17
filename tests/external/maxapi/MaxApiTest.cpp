// Our Max API layer on its own, with a small class made for the purpose.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "MaxApiHost.h"

namespace {

struct probe_t {
  t_pxobject ob;
  long number;
  float values[8];
  long valuesCount;
  t_symbol* name;
  long setterCalls;
  long setterArgc;
  t_symbol* lastSelector;
  long lastArgc;
  t_symbol* lastSym;
  long bangs;
  long newArgc;
  long deferredCalls;
  long deferredArgc;
  long performCalls;
  t_object* box;
};

t_class* probe_class = nullptr;

t_max_err probe_set_number(probe_t* x, t_object*, long argc, t_atom* argv) {
  x->setterCalls += 1;
  x->setterArgc = argc;
  if (argc > 0) x->number = atom_getlong(argv);
  return 0;
}

void* probe_new(t_symbol*, long argc, t_atom* argv) {
  auto* x = static_cast<probe_t*>(object_alloc(probe_class));
  x->newArgc = argc;
  x->box = gensym("#B")->s_thing;
  object_post(&x->ob.z_ob, "made with %ld words", argc);
  t_dictionary* d = object_dictionaryarg(argc, argv);
  if (d == nullptr) return nullptr;
  attr_dictionary_process(x, d);
  z_dsp_setup(&x->ob, 1);
  outlet_new(x, "signal");
  return x;
}

void probe_gimme(probe_t* x, t_symbol* s, long argc, t_atom*) {
  x->lastSelector = s;
  x->lastArgc = argc;
}

void probe_sym(probe_t* x, t_symbol* s) {
  x->lastSym = s;
}

void probe_bang(probe_t* x) {
  x->bangs += 1;
}

void probe_deferred(probe_t* x, t_symbol*, short argc, t_atom* argv) {
  x->deferredCalls += 1;
  x->deferredArgc = argc;
  if (argc > 0) x->number = atom_getlong(argv);
}

void probe_later(probe_t* x, t_symbol* s, long argc, t_atom* argv) {
  defer_medium(x, reinterpret_cast<method>(probe_deferred), s, static_cast<short>(argc), argv);
}

t_int* probe_perform(t_int* w) {
  auto* x = reinterpret_cast<probe_t*>(w[1]);
  x->performCalls += 1;
  t_signal* out = reinterpret_cast<t_signal*>(w[3]);
  for (long k = 0; k < static_cast<long>(w[2]); ++k) out->s_vec[k] = static_cast<float>(k);
  return w + 4;
}

void probe_dsp(probe_t* x, t_signal** sp, short*) {
  dsp_add(probe_perform, 3, x, sp[0]->s_n, sp[1]);
}

void* probe_query(probe_t* x, void* a, void* b) {
  x->lastArgc = reinterpret_cast<long>(a) + reinterpret_cast<long>(b);
  return x;
}

t_class* probeClass() {
  if (probe_class != nullptr) return probe_class;
  t_class* c = class_new("probe~", reinterpret_cast<method>(probe_new), nullptr, sizeof(probe_t),
                         nullptr, A_GIMME, 0);
  c->c_flags |= CLASS_FLAG_NEWDICTIONARY;
  class_addmethod(c, reinterpret_cast<method>(probe_gimme), "gimme", A_GIMME, 0);
  class_addmethod(c, reinterpret_cast<method>(probe_sym), "sym", A_SYM, 0);
  class_addmethod(c, reinterpret_cast<method>(probe_bang), "bang", 0);
  class_addmethod(c, reinterpret_cast<method>(probe_later), "later", A_GIMME, 0);
  class_addmethod(c, reinterpret_cast<method>(probe_dsp), "dsp", A_CANT, 0);
  class_addmethod(c, reinterpret_cast<method>(probe_query), "query", A_CANT, 0);

  t_object* number =
      attr_offset_new("number", _sym_long, 0, nullptr, reinterpret_cast<method>(probe_set_number),
                      offsetof(probe_t, number));
  class_addattr(c, number);
  attr_addfilter_clip(number, 0, 10, 1, 1);
  class_attr_addattr_parse(c, "number", "default", _sym_long, 0, "3");
  class_attr_addattr_parse(c, "number", "label", _sym_symbol, 0, "\"a small number\"");
  class_addattr(c,
                attr_offset_array_new("values", _sym_float32, 8, 0, nullptr, nullptr,
                                      offsetof(probe_t, valuesCount), offsetof(probe_t, values)));
  class_addattr(c,
                attr_offset_new("name", _sym_symbol, 0, nullptr, nullptr, offsetof(probe_t, name)));
  class_attr_addattr_format(c, "name", "default", _sym_symbol, 0, "s", gensym("hello"));
  class_attr_addattr_format(c, "name", "order", _sym_long, 0, "lf", 7L, 2.5);
  class_dspinit(c);
  class_register(gensym("box"), c);
  probe_class = c;
  return c;
}

struct Made {
  explicit Made(char const* box, maxapi_console_sink sink = maxapi_console_sink())
      : x(static_cast<probe_t*>(
            maxapi_object_new(probeClass(), maxapi_parse_atoms(box), std::move(sink)))) {}
  ~Made() {
    if (x != nullptr) object_free(x);
  }
  probe_t* x;
};

void send(probe_t* x, char const* text) {
  std::vector<t_atom> atoms = maxapi_parse_atoms(text);
  maxapi_object_message(x, atom_getsym(&atoms[0]), static_cast<long>(atoms.size() - 1),
                        atoms.data() + 1);
}

TEST(MaxApiText, SplitsIntoLongsFloatsAndSymbols) {
  std::vector<t_atom> a = maxapi_parse_atoms(" 1 -2 3.5 30. 1e3 x++ - .5 \"two words\" inf 0x10 ");
  ASSERT_EQ(a.size(), 11u);
  short const types[] = {A_LONG, A_LONG,  A_FLOAT, A_FLOAT, A_FLOAT, A_SYM,
                         A_SYM,  A_FLOAT, A_SYM,   A_SYM,   A_SYM};
  for (std::size_t i = 0; i < a.size(); ++i) EXPECT_EQ(a[i].a_type, types[i]) << i;
  EXPECT_EQ(a[1].a_w.w_long, -2);
  EXPECT_EQ(a[4].a_w.w_float, 1000.);
  EXPECT_STREQ(a[8].a_w.w_sym->s_name, "two words");
  EXPECT_EQ(gensym("x++"), a[5].a_w.w_sym);  // one symbol per text
  EXPECT_TRUE(maxapi_parse_atoms("   ").empty());
}

TEST(MaxApiText, ShowsAtomsAsTheHostDoes) {
  t_atom a;
  atom_setfloat(&a, 30.);
  EXPECT_EQ(maxapi_atom_text(a), "30.");
  atom_setfloat(&a, 0.1f);
  EXPECT_EQ(maxapi_atom_text(a), "0.1");
  atom_setlong(&a, -4);
  EXPECT_EQ(maxapi_atom_text(a), "-4");
  atom_setsym(&a, gensym("angular"));
  EXPECT_EQ(maxapi_atom_text(a), "angular");
}

TEST(MaxApiObjects, BoxDictionaryHoldsTypedValuesAndDefaults) {
  Made m("lead 2 @values 1 2.5 3 @number 4");
  ASSERT_NE(m.x, nullptr);
  EXPECT_EQ(m.x->newArgc, 3);  // two leading words, then the dictionary
  EXPECT_EQ(m.x->number, 4);
  EXPECT_STREQ(m.x->name->s_name, "hello");
  EXPECT_EQ(m.x->valuesCount, 3);
  EXPECT_EQ(m.x->values[1], 2.5f);

  Made d("");
  EXPECT_EQ(d.x->number, 3);
  EXPECT_EQ(d.x->setterCalls, 1);
  EXPECT_EQ(d.x->valuesCount, 0);  // no default: untouched

  // Each box is its own, bound to "#B" while its object is made.
  ASSERT_NE(d.x->box, nullptr);
  EXPECT_NE(d.x->box, m.x->box);
  EXPECT_EQ(gensym("#B")->s_thing, nullptr);
  object_notify(d.x->box, _sym_modified, nullptr);
  EXPECT_EQ(maxapi_box_notifications(d.x->box), 1);
  EXPECT_EQ(maxapi_box_notifications(m.x->box), 0);
}

TEST(MaxApiObjects, AttributesGoThroughClipThenSetter) {
  Made m("");
  send(m.x, "number 20");
  EXPECT_EQ(m.x->number, 10);
  send(m.x, "number -3.7");
  EXPECT_EQ(m.x->number, 0);
  send(m.x, "number");
  EXPECT_EQ(m.x->setterArgc, 0);  // the setter decides what nothing means
  send(m.x, "values 1 2 3 4 5 6 7 8 9 10");
  EXPECT_EQ(m.x->valuesCount, 8);

  long argc = 0;
  t_atom* argv = nullptr;
  ASSERT_EQ(object_attr_getvalueof(m.x, gensym("values"), &argc, &argv), MAX_ERR_NONE);
  EXPECT_EQ(argc, 8);
  EXPECT_EQ(atom_getfloat(argv + 7), 8.);
  sysmem_freeptr(argv);

  argc = 0;
  argv = nullptr;
  ASSERT_EQ(object_attr_attr_getvalueof(m.x, gensym("name"), gensym("order"), &argc, &argv),
            MAX_ERR_NONE);
  ASSERT_EQ(argc, 2);
  EXPECT_EQ(atom_getlong(argv), 7);
  EXPECT_EQ(atom_getfloat(argv + 1), 2.5);
  sysmem_freeptr(argv);
  EXPECT_STREQ(object_attr_getsym(m.x, gensym("name"))->s_name, "hello");
  EXPECT_NE(object_attr_setvalueof(m.x, gensym("nothere"), 0, nullptr), MAX_ERR_NONE);
}

TEST(MaxApiObjects, MessagesReachTheirMethodsByArgumentType) {
  std::vector<std::string> lines;
  Made m("", [&](int, std::string const& t) { lines.push_back(t); });
  EXPECT_EQ(lines, std::vector<std::string>{"made with 1 words"});
  send(m.x, "gimme 1 two 3.");
  EXPECT_EQ(m.x->lastSelector, gensym("gimme"));
  EXPECT_EQ(m.x->lastArgc, 3);
  send(m.x, "sym foo");
  EXPECT_EQ(m.x->lastSym, gensym("foo"));
  send(m.x, "sym");
  EXPECT_EQ(m.x->lastSym, gensym(""));
  send(m.x, "bang 1 2");
  EXPECT_EQ(m.x->bangs, 1);
  EXPECT_EQ(
      object_method(m.x, gensym("query"), reinterpret_cast<void*>(2), reinterpret_cast<void*>(5)),
      m.x);
  EXPECT_EQ(m.x->lastArgc, 7);
  lines.clear();
  send(m.x, "query");
  send(m.x, "unknown");
  EXPECT_EQ(lines, (std::vector<std::string>{"probe~: doesn't understand \"query\"",
                                             "probe~: doesn't understand \"unknown\""}));
}

TEST(MaxApiObjects, DeferredCallsWaitForTheMessageSide) {
  Made m("");
  send(m.x, "later 9 8");
  EXPECT_EQ(m.x->deferredCalls, 0);
  maxapi_defer_run(m.x);
  EXPECT_EQ(m.x->deferredCalls, 1);
  EXPECT_EQ(m.x->deferredArgc, 2);
  EXPECT_EQ(m.x->number, 9);
  maxapi_defer_run(m.x);
  EXPECT_EQ(m.x->deferredCalls, 1);
  // A call pending when its object goes is dropped with it.
  {
    Made gone("");
    send(gone.x, "later 1");
  }
  maxapi_defer_run(nullptr);
}

TEST(MaxApiObjects, ConsoleLinesWithoutSinkGoToTheProcessList) {
  maxapi_console_take();
  Made m("");
  object_warn(&m.x->ob.z_ob, "careful %d", 3);
  auto lines = maxapi_console_take();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].second, "made with 1 words");
  EXPECT_EQ(lines[1].first, maxapi_warning);
  EXPECT_EQ(lines[1].second, "careful 3");
}

TEST(MaxApiDsp, ChainRunsPerformRoutinesUntilTheObjectLeaves) {
  Made m("");
  maxapi_instance const* info = m.x->ob.z_ob.o_host;
  EXPECT_EQ(info->signalInlets, 1);
  EXPECT_EQ(info->signalOutlets, 1);
  std::vector<float> in(16), out(16, -1.f);
  t_signal signals[2] = {{16, in.data(), 48000.}, {16, out.data(), 48000.}};
  t_signal* sp[2] = {&signals[0], &signals[1]};
  short counts[2] = {1, 1};
  maxapi_chain chain;
  ASSERT_TRUE(maxapi_dsp_build(m.x, chain, sp, counts));
  EXPECT_EQ(chain.words.size(), 4u);
  maxapi_chain_run(chain);
  maxapi_chain_run(chain);
  EXPECT_EQ(m.x->performCalls, 2);
  EXPECT_EQ(out[15], 15.f);
  z_dsp_free(&m.x->ob);
  maxapi_chain_run(chain);
  EXPECT_EQ(m.x->performCalls, 2);
}

TEST(MaxApiFiles, FindsFilesAsGivenOrInSearchFolders) {
  namespace fs = std::filesystem;
  fs::path const folder = fs::path(ZORV_BINARY_DIR) / "maxapi-test-files";
  fs::create_directories(folder);
  std::ofstream(folder / "set.hrtf") << "x";
  maxapi_add_search_path(folder.string().c_str());

  char name[MAX_PATH_CHARS] = "set.hrtf";
  short path = 0;
  t_fourcc type = 1;
  ASSERT_EQ(locatefile_extended(name, &path, &type, nullptr, 0), 0);
  EXPECT_STREQ(name, "set.hrtf");
  char full[MAX_PATH_CHARS];
  ASSERT_EQ(path_toabsolutesystempath(path, name, full), 0);
  EXPECT_EQ(fs::path(full), folder / "set.hrtf");

  std::snprintf(name, sizeof name, "%s", (folder / "set.hrtf").string().c_str());
  ASSERT_EQ(locatefile_extended(name, &path, &type, nullptr, 0), 0);
  EXPECT_STREQ(name, "set.hrtf");

  std::snprintf(name, sizeof name, "missing.hrtf");
  EXPECT_NE(locatefile_extended(name, &path, &type, nullptr, 0), 0);
  EXPECT_NE(path_toabsolutesystempath(999, "x", full), 0);
}

}  // namespace
