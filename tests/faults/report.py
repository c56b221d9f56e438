"""What came out of the runs of a sweep."""

import collections

NOT_REACHED = "not reached"


class Report:
    def __init__(self):
        self.outcomes = collections.Counter()
        self.calls = collections.Counter()
        self.defects = []

    def add(self, case, outcome, details):
        self.outcomes[case.phase, outcome] += 1
        self.calls[case.phase, case.call] += 1
        if outcome.startswith("DEFECT"):
            self.defects.append((case, outcome, details))

    def sound(self):
        """Without defects, and not for want of injected faults."""
        unreached = sum(count for (_, outcome), count in self.outcomes.items()
                        if outcome == NOT_REACHED)
        return not self.defects and unreached * 10 < sum(self.calls.values())

    def print(self, seconds):
        for phase in ("start", "worker", "script"):
            calls = {name: count for (where, name), count in self.calls.items() if where == phase}
            if not calls:
                continue
            print(f"{phase}: {sum(calls.values())} runs")
            print("  faults:   " + ", ".join(f"{name} {calls[name]}" for name in sorted(calls)))
            print("  outcomes: " + ", ".join(
                f"{outcome} {count}" for (where, outcome), count in sorted(self.outcomes.items())
                if where == phase))
        false = sum(1 for defect in self.defects if "false success" in defect[1])
        print(f"{sum(self.calls.values())} runs in {seconds:.0f} s; "
              f"false successes: {false}; defects: {len(self.defects)}")
        for case, outcome, details in self.defects:
            print(f"{outcome}: {case}\n{details}")
