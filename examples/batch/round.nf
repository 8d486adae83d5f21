// One round of a plan with Nextflow: its blocks as tasks, and what joins them. From a folder that all tasks see:
//
//     rix plan cells.json image=large.zarr --blocks 200 -o cells-plan.json
//     while read round blocks; do
//       nextflow run examples/batch/round.nf --plan "$PWD/cells-plan.json" --round $round --blocks $blocks || break
//     done < cells-plan-work/rounds.txt
//     rix finish cells-plan.json
//
// A plan knows its folder, so that tasks may run in folders of their own.

nextflow.enable.dsl = 2

params.rix = 'rix'
params.plan = null
params.round = 0
params.blocks = 0

process block {
    cpus 2
    memory '4 GB'
    errorStrategy 'retry'
    maxRetries 3

    input:
    val index

    output:
    val index

    script:
    """
    ${params.rix} block '${params.plan}' ${index} --round ${params.round} --threads ${task.cpus} --no-progress
    """
}

process join {
    cpus 8
    memory '16 GB'

    input:
    val blocks

    script:
    """
    ${params.rix} join '${params.plan}' --round ${params.round} --threads ${task.cpus} --memory 12G --no-progress
    """
}

workflow {
    indices = params.blocks > 0 ? Channel.of(0..(params.blocks - 1)) : Channel.empty()
    join(block(indices).collect().ifEmpty([]))
}
