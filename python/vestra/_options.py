"""The settings of a call as the options of the programs' command lines, so
that they are checked by the programs' own option reader."""

import numbers


def number(value, name):
    """`value` as the text of a command-line value; TypeError for what is
    not a real number."""
    if isinstance(value, bool) or not isinstance(value, numbers.Real):
        raise TypeError(f"{name} must be a number, not "
                        f"{type(value).__name__}")
    # str() of a float is its shortest exact decimal form.
    return str(value) if isinstance(value, numbers.Integral) else \
        str(float(value))


def fix_args(sigma, celerity, pick_error, ellipsoid, jobs):
    """vestra-fix's options for the settings of a location."""
    if isinstance(celerity, (tuple, list)):
        if len(celerity) != 2:
            raise TypeError("celerity must be (MIN, MAX) or one number")
        celerity = (number(celerity[0], "celerity") + ":" +
                    number(celerity[1], "celerity"))
    else:
        celerity = number(celerity, "celerity")
    args = ["--sigma=" + number(sigma, "sigma"),
            "--celerity=" + celerity,
            "--pick-error=" + number(pick_error, "pick_error"),
            "--ellipsoid=" + number(ellipsoid, "ellipsoid")]
    if jobs is not None:
        args.append("--jobs=" + number(jobs, "jobs"))
    return args


def assoc_args(min_detections, min_arrays, threshold, copies, max_false):
    """vestra-assoc's options of its own (the location's come from
    fix_args)."""
    args = ["--min-detections=" + number(min_detections, "min_detections"),
            "--min-arrays=" + number(min_arrays, "min_arrays"),
            "--threshold=" + number(threshold, "threshold"),
            "--copies=" + number(copies, "copies")]
    if max_false is not None:
        args.append("--max-false=" + number(max_false, "max_false"))
    return args
