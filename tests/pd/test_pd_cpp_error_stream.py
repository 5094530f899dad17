"""What panners trace to the C++ error stream stays out of Pd's console unless
ZORV_PAN_VERBOSE is set: a vbap2d box traces its spread when it is made."""

import zorvpd


def scene():
    c = zorvpd.Canvas()
    c.obj("zorv.pan~ @numinputs 1 @numoutputs 4 @type vbap2d")
    load = c.obj("loadbang")
    quit_ = c.msg("\\; pd quit")
    c.connect(load, 0, quit_, 0)
    return c.patch()


def main():
    folder = zorvpd.temporary_folder()
    trace = "SetOmniSpreadFactor = 0"
    for env, shown in (({}, False), ({"ZORV_PAN_VERBOSE": "0"}, False),
                       ({"ZORV_PAN_VERBOSE": "1"}, True)):
        code, log = zorvpd.run_pd(scene(), folder, env=env)
        if code != 0:
            zorvpd.fail(f"pd ended with {code} ({env}):\n{log}")
        if (trace in log) != shown:
            zorvpd.fail(f"with {env or 'no variable'} the trace should be "
                        f"{'shown' if shown else 'hidden'}:\n{log}")
    print("the C++ error stream is hidden by default and shown with ZORV_PAN_VERBOSE=1")


if __name__ == "__main__":
    main()
