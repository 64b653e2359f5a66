# Completion of vqws for PowerShell: commands, options, and known values. Load it in your profile:
#   . 'C:\Program Files\VqWebServices\share\VqWebServices\vqws.ps1'
#
# The lines that begin with "# words" list the words. A test compares them with those of the tool.
# words commands: status login logout watch sign token get doctor check-server dump report
# words common: --key --secret-file --oauth2-key --oauth2-secret-file --server --support --ca --json --quiet --timeout --help --version
# words login: --no-browser
# words check-server: --no-browser --browser-command
# words sign: --header --method
# words token: --oauth2

$vqwsWords = @{}
foreach ($line in Get-Content -LiteralPath $PSCommandPath) {
    if ($line -match '^# words ([\w-]+): (.*)$') { $vqwsWords[$Matches[1]] = $Matches[2] -split ' ' }
}
$vqwsValues = @{
    '--server' = 'production', 'staging', 'development'
    '--oauth2' = 'RT', 'JWT'
    '--method' = 'GET', 'POST', 'PUT', 'DELETE', 'HEAD'
}

Register-ArgumentCompleter -Native -CommandName vqws, vqws.exe -ScriptBlock {
    param($wordToComplete, $commandAst, $cursorPosition)
    $given = @($commandAst.CommandElements | Select-Object -Skip 1 |
        Where-Object { $_.Extent.EndOffset -lt $cursorPosition } | ForEach-Object { $_.Extent.Text })
    $command = $given | Where-Object { $vqwsWords['commands'] -contains $_ } | Select-Object -First 1
    $before = if ($given.Count -gt 0) { $given[-1] } else { '' }
    $choices = if ($vqwsValues.ContainsKey($before)) { $vqwsValues[$before] }
    elseif ($wordToComplete.StartsWith('-')) { $vqwsWords['common'] + $(if ($command) { $vqwsWords[$command] }) }
    elseif (-not $command) { $vqwsWords['commands'] }
    $choices | Where-Object { $_ -and $_.StartsWith($wordToComplete) } | ForEach-Object {
        [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_)
    }
}
