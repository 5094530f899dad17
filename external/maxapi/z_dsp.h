#pragma once

// Signal objects, with the host's names and call shapes: the header of a
// signal object, the signal records handed to its "dsp" method, and the
// perform chain.
//
// Threads: z_dsp_setup, z_dsp_free, class_dspinit and dsp_add run on the
// message side (dsp_add only from inside a "dsp" method). A perform routine
// runs on the audio thread and must not call anything in these headers.

#include "ext.h"

typedef float t_sample;

// The header of a signal object.
typedef struct t_pxobject {
  t_object z_ob;
  long z_in;
  void* z_proxy;
  long z_disabled;  // non-zero: the host has switched this object's processing off
  short z_count;
  short z_misc;  // Z_NO_INPLACE: an output vector must not alias an input vector
} t_pxobject;

#define Z_NO_INPLACE 1

typedef struct t_signal {
  long s_n;  // vector size
  t_sample* s_vec;
  double s_sr;
} t_signal;

// Gets a pointer to its argument words (w[1] is the first) and returns the
// pointer just past them.
typedef t_int* (*t_perfroutine)(t_int* args);

void class_dspinit(t_class* c);
// Makes nsignals signal inlets.
void z_dsp_setup(t_pxobject* x, long nsignals);
// Leaves the signal chain: no perform routine of x runs after this.
void z_dsp_free(t_pxobject* x);
// Appends f with n argument words (each pointer-sized) to the chain being built.
void dsp_add(t_perfroutine f, int n, ...);
void dsp_addv(t_perfroutine f, int n, void** vector);
double sys_getsr(void);
int sys_getblksize(void);
