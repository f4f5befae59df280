#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Cameras on a network, for long: what is lost on the way is asked for again, and nothing that is lost passes for whole.

soak-gige.py BIN [--full|--brief] [PROOF…]
BIN holds zelmo, gige_soak and the tests. Served cameras lose, double, delay and refuse, on purpose and by seed, what the library
grabs from them; each PROOF (all of them) prints what was sent and what became of it, and a line for each thing that has
to hold. --full runs the whole counts, without it a fiftieth, --brief as little as still shows the fault. All of it runs
in a network namespace of its own. Ends with 1 if anything does not hold, with 77 where no namespace can be had.
"""

import os
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
from gige_proofs.stage import Stage, run
from gige_proofs.hostile import attack
from gige_proofs.losses import clean, drops, loss, nobody, refused
from gige_proofs.networks import networks
from gige_proofs.repeats import buffers, histories
from gige_proofs.trouble import cuts, heartbeat, links, matrix, silences
from namespaces import enter_namespace

PROOFS = {proof.__name__: proof
          for proof in (histories, buffers, clean, nobody, loss, drops, refused, networks, heartbeat, attack, silences,
                        matrix, links, cuts)}


def prove(stage, name):
    began = time.monotonic()
    try:
        PROOFS[name](stage)
    except Exception as e:  # the others go on
        stage.expect(False, f"{name}: {e!r}")
    print(f"{name}: {time.monotonic() - began:.0f} s", flush=True)


def main():
    arguments = sys.argv[1:]
    if not arguments or "--help" in arguments:
        print(__doc__.strip())
        print("Proofs:")
        for name, proof in PROOFS.items():
            print(f"  {name:10} {proof.__doc__}")
        return 0 if arguments else 2
    scale = "full" if "--full" in arguments else "brief" if "--brief" in arguments else "fiftieth"
    folder, *names = [argument for argument in arguments if not argument.startswith("--")]
    unknown = [name for name in names if name not in PROOFS]
    if unknown:
        print(f"soak-gige.py: no proof is called {', '.join(unknown)}; there are {', '.join(PROOFS)}", file=sys.stderr)
        return 2
    enter_namespace(["ip", "unshare", "nsenter", "taskset", "setpriv", "nft"])
    run("ip", "link", "set", "lo", "up")
    os.environ.update(ZELMO_GIGE="lo", ZELMO_CAMEMU="0")
    stage = Stage(folder, scale)
    for name in names or PROOFS:
        prove(stage, name)
    for failure in stage.failures:
        print(f"FAILED  {failure}")
    print(f"{len(stage.failures)} failed")
    return 1 if stage.failures else 0


if __name__ == "__main__":
    sys.exit(main())
