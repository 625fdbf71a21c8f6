"""A program that a test talks to through pipes."""

# Seconds. A program that does not answer within this time has hung; nothing else depends on it.
HUNG = 120


def end_input(process):
    """Returns the exit code, and what the program wrote to standard error."""
    process.stdin.close()
    code = process.wait(HUNG)
    errors = process.stderr.read().decode()
    process.stdout.close()
    process.stderr.close()
    return code, errors
