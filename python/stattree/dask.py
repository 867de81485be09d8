"""A stattree job over a Dask DataFrame, on whatever cluster Dask runs.

    report = stattree.dask.run(job, ddf)

Each partition becomes a Partial on a worker (`Job.partial`); partials are
merged in partition order, by groups of `split_every` on the workers (a
tree reduction that keeps the order), and the last merge finalizes into a
Report on the client. The report is that of `job.run` over the whole frame,
sums, averages and standard deviations up to the last digits of reals.
`max_nodes` limits each partition's tree and the merged one.
"""
from . import DEFAULT_MAX_NODES, _combine, merge

__all__ = ["run"]


def run(job, ddf, max_nodes=DEFAULT_MAX_NODES, name="<DataFrame>", split_every=8):
    import dask  # only this module needs Dask

    if split_every < 2:
        raise ValueError("split_every: at least 2")
    level = [dask.delayed(job.partial)(part, max_nodes) for part in ddf.to_delayed()]
    while len(level) > split_every:
        level = [dask.delayed(_combine)(level[i:i + split_every], max_nodes)
                 for i in range(0, len(level), split_every)]
    return merge(dask.compute(*level), max_nodes, name)
